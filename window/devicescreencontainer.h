#pragma once

#include <QProgressDialog>
#include <QString>
#include <QWidget>

class DragNDropManager;
class EventManager;

// The window's central widget around the device screen: it receives files dropped on the
// screen, frames the display while they hover, and shows the push progress.
class DeviceScreenContainer : public QWidget
{
    Q_OBJECT

public:
    // adbAddress is "<ip>:5555"; manager is not owned.
    DeviceScreenContainer(const QString &adbAddress, EventManager *manager, QWidget *parent = nullptr);

    void setHighlight(bool on);
    bool isHighlighted() const { return highlighted; }
    QString adbAddress() const { return address; }
    const QProgressDialog &pushProgress() const { return progressDialog; }
    DragNDropManager *dropManager() const { return drops; }

public slots:
    void slotShowProgressDialog(bool show);
    // percent from 0 to 100, or -1 for a job without a figure (the bar then runs as busy).
    void slotProgress(int percent);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QString address;
    EventManager *eventManager;
    QProgressDialog progressDialog;
    DragNDropManager *drops; // child
    bool highlighted = false;
};
