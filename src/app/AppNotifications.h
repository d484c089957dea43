// The application-wide requests that decouple who asks from who handles: menus, banners and the
// panel post them; the delegate and the panel controller observe them.
#pragma once

#include <QObject>
#include <QVariant>

class AppNotifications : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    void post(const QString& name, const QVariant& object = {});

Q_SIGNALS:
    void velmoraRequestOpenSettings();
    // The object, when it is a string, is the id of the workspace to open on.
    void velmoraRequestOpenWorkspaceManager(const QVariant& object);
    void velmoraRequestOpenWelcomeGuide();
    void velmoraRequestOpenFromMenu();
    void velmoraRequestClose();
};
