// The workspace manager's window: made on the first request at 980 by 680, centred once and kept;
// each request puts a new manager in it, opened on the workspace the request names, so the manager
// starts afresh where the window already stands, at its size. Closing hides it. Retitled when the
// interface language changes, shown or not. Main thread only.
#pragma once

#include "AuxiliaryWindow.h"

#include <QObject>
#include <QPointer>
#include <QVariant>
#include <functional>
#include <optional>

class AppLanguageStore;
class WorkspaceManagerView;

class WorkspaceManagerWindowController : public QObject {
    Q_OBJECT

public:
    static constexpr int windowWidth = 980;
    static constexpr int windowHeight = 680;

    using MakeView = std::function<WorkspaceManagerView*(const std::optional<QString>& initialWorkspaceID)>;

    WorkspaceManagerWindowController(AppLanguageStore& languageStore, MakeView makeView,
                                     AuxiliaryWindow::Activate activate, QObject* parent = nullptr);
    ~WorkspaceManagerWindowController() override;

    // A string object is the workspace to open on; anything else counts as none.
    void openWorkspaceManagerWindow(const QVariant& object);
    // Absent before the first request.
    QWidget* workspaceManagerWindow() const { return m_window; }
    WorkspaceManagerView* view() const;

private:
    AppLanguageStore& m_languageStore;
    MakeView m_makeView;
    AuxiliaryWindow::Activate m_activate;
    QPointer<QWidget> m_window;
    QPointer<WorkspaceManagerView> m_view;
};
