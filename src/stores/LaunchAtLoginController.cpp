#include "LaunchAtLoginController.h"

#include "AppLog.h"

using namespace Qt::StringLiterals;

LaunchAtLoginController::LaunchAtLoginController(std::shared_ptr<LaunchAtLoginServicing> service,
                                                 QObject* parent)
    : QObject(parent), m_service(std::move(service))
{
    m_status = readStatus();
}

LaunchAtLoginStatus LaunchAtLoginController::readStatus() const
{
    return launchAtLoginStatusFromRawValue(m_service->statusRawValue());
}

bool LaunchAtLoginController::canToggle() const
{
    return m_status != LaunchAtLoginStatus::requiresApproval && m_status != LaunchAtLoginStatus::unavailable;
}

void LaunchAtLoginController::refresh()
{
    setStatus(readStatus());
    setHasError(false);
}

void LaunchAtLoginController::setEnabled(bool enabled)
{
    if (!canToggle())
        return;
    const auto agrees = [this, enabled] {
        return enabled == (m_status == LaunchAtLoginStatus::enabled);
    };
    if (agrees())
        return;
    setHasError(false);

    const Expected<void> result = enabled ? m_service->registerLoginItem() : m_service->unregisterLoginItem();
    if (!result)
        AppLog::ui(u"Update launch at login failed error=%1"_s.arg(AppLog::errorSummary(result.error())));

    setStatus(readStatus());
    // The request now waits for the user's approval: that is no error.
    if (m_status == LaunchAtLoginStatus::requiresApproval)
        return;
    if (!agrees())
        setHasError(true);
}

void LaunchAtLoginController::openSystemSettingsLoginItems()
{
    m_service->openSystemSettingsLoginItems();
}

void LaunchAtLoginController::setStatus(LaunchAtLoginStatus status)
{
    if (m_status == status)
        return;
    m_status = status;
    Q_EMIT statusChanged(status);
}

void LaunchAtLoginController::setHasError(bool hasError)
{
    if (m_hasError == hasError)
        return;
    m_hasError = hasError;
    Q_EMIT hasErrorChanged(hasError);
}
