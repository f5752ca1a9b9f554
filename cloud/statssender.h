#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

class StatsRequest;

// Delivers the stored statistics rows to the cloud, at most once a day, in one batch of up to
// 1500 rows, then removes them. Lives for one delivery: made with new, it deletes itself.
class StatsSender : public QObject
{
    Q_OBJECT
public:
    explicit StatsSender(QObject *parent = nullptr);

    // "["value1","value2",...,]": each row quoted and followed by a comma, the last one too;
    // the server's parser expects exactly this.
    static QString batchText(const QStringList &values);

public slots:
    void retrieveSomeStats();
    void localStatsRetrieved();

private:
    QPointer<StatsRequest> m_request;
};
