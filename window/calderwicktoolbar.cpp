#include "calderwicktoolbar.h"

CalderwickToolbar::CalderwickToolbar(QWidget *parent)
    : QToolBar(parent)
{
    setStyleSheet(QStringLiteral("CalderwickToolbar {background: #000;border: 0px;}"
                                 "QToolButton#qt_toolbar_ext_button {qproperty-icon: url(:/common/arrow_down_preview);}"));
}

void CalderwickToolbar::toogleVisibility()
{
    setVisible(!isVisible());
}
