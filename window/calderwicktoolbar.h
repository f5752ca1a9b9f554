#pragma once

#include <QToolBar>

// The common look of the player's two toolbars; the window's shortcuts show and hide them.
class CalderwickToolbar : public QToolBar
{
    Q_OBJECT

public:
    explicit CalderwickToolbar(QWidget *parent = nullptr);

public slots:
    void toogleVisibility();
};
