// Turns SIGTERM and SIGINT into a Qt signal on the main thread, so the app quits through its event
// loop and shuts down cleanly.
#pragma once

#include <QObject>

class QSocketNotifier;

class SignalWatcher : public QObject {
    Q_OBJECT

public:
    explicit SignalWatcher(QObject* parent = nullptr);
    ~SignalWatcher() override;

Q_SIGNALS:
    void terminationRequested(int signalNumber);

private:
    QSocketNotifier* m_notifier = nullptr;
};
