// The composition root: builds the long-lived stores and services in their order and owns them for
// the whole run. Made once in main and passed down; nothing reaches it as a global.
#pragma once

#include <QObject>
#include <QString>
#include <memory>

class AppLanguageStore;
class AppNotifications;
class PromptStore;
class QSettings;

class VelmoraRuntime : public QObject {
    Q_OBJECT

public:
    // `homeDirectory` is the root of the library folders; `defaults` the user's preferences.
    VelmoraRuntime(const QString& homeDirectory, std::unique_ptr<QSettings> defaults,
                   QObject* parent = nullptr);
    ~VelmoraRuntime() override;

    AppLanguageStore& languageStore() const { return *m_languageStore; }
    PromptStore& promptStore() const { return *m_promptStore; }
    AppNotifications& notifications() const { return *m_notifications; }
    QSettings& defaults() const { return *m_defaults; }

private:
    std::unique_ptr<QSettings> m_defaults;
    AppNotifications* m_notifications;
    AppLanguageStore* m_languageStore;
    PromptStore* m_promptStore;
};
