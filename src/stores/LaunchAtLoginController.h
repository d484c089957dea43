// The login item's state for the Settings window. Whether a change worked is judged by the status
// the desktop reports afterwards, not by the result of the call. Main thread only.
#pragma once

#include "LaunchAtLoginServicing.h"

#include <QObject>
#include <memory>

class LaunchAtLoginController : public QObject {
    Q_OBJECT
    Q_PROPERTY(LaunchAtLoginStatus status READ status NOTIFY statusChanged)
    Q_PROPERTY(bool hasError READ hasError NOTIFY hasErrorChanged)
    Q_PROPERTY(bool canToggle READ canToggle NOTIFY statusChanged)

public:
    // Reads the status at once.
    explicit LaunchAtLoginController(std::shared_ptr<LaunchAtLoginServicing> service,
                                     QObject* parent = nullptr);

    LaunchAtLoginStatus status() const { return m_status; }
    bool hasError() const { return m_hasError; }
    // False while the desktop must approve the item or its state can't be read.
    bool canToggle() const;

    // Reads the status again and forgets an earlier error; run whenever Velmora becomes active.
    void refresh();
    void setEnabled(bool enabled);
    void openSystemSettingsLoginItems();

Q_SIGNALS:
    void statusChanged(LaunchAtLoginStatus status);
    void hasErrorChanged(bool hasError);

private:
    void setStatus(LaunchAtLoginStatus status);
    void setHasError(bool hasError);
    LaunchAtLoginStatus readStatus() const;

    std::shared_ptr<LaunchAtLoginServicing> m_service;
    LaunchAtLoginStatus m_status = LaunchAtLoginStatus::disabled;
    bool m_hasError = false;
};
