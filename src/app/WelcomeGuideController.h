// The welcome guide's window and its decision at launch: after the first load the guide is shown if
// it is still due; any of its buttons, or its close button, finishes it for good. Made on the first
// request, centred once, kept; retitled when the interface language changes. Main thread only.
#pragma once

#include "AuxiliaryWindow.h"
#include "FirstRunWelcomeView.h"

#include <QObject>
#include <QPointer>
#include <functional>

class AppLanguageStore;
class AppNotifications;
class FirstRunChecklistStore;
class PromptStore;

class WelcomeGuideController : public QObject {
    Q_OBJECT

public:
    using MakeView = std::function<QWidget*(FirstRunWelcomeView::Actions actions)>;

    WelcomeGuideController(AppLanguageStore& languageStore, FirstRunChecklistStore& firstRun,
                           AppNotifications& notifications, MakeView makeView, AuxiliaryWindow::Activate activate,
                           QObject* parent = nullptr);
    ~WelcomeGuideController() override;

    // The launch task: waits for a fresh load of the library, lets a library saved before the flag
    // count as welcomed, then shows the guide if it is still due.
    void decideAtLaunch(PromptStore& promptStore);
    void presentWelcomeGuide();
    // From the menu or Settings: the guide again, even after it was finished.
    void openWelcomeGuide();
    void finishWelcomeGuide(const std::function<void()>& then);

    QWidget* welcomeWindow() const { return m_window; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppLanguageStore& m_languageStore;
    FirstRunChecklistStore& m_firstRun;
    AppNotifications& m_notifications;
    MakeView m_makeView;
    AuxiliaryWindow::Activate m_activate;
    QPointer<QWidget> m_window;
};
