// The stores and services a settings view runs on, over a store fixture's preferences: the login
// item, the update checker, the clipboard, the sounds, the hot key and the desktop are doubles.
#pragma once

#include "AppLanguageStore.h"
#include "AppUpdateController.h"
#include "ContextDetector.h"
#include "FakeClipboard.h"
#include "FakeDesktopSessionProbe.h"
#include "FakeHotKeyRegistrar.h"
#include "FakeLaunchAtLoginService.h"
#include "FakeUpdateChecker.h"
#include "FirstRunChecklistStore.h"
#include "HotKeyService.h"
#include "LaunchAtLoginController.h"
#include "PromptActionService.h"
#include "PromptCopySoundPlayer.h"
#include "PromptPanelPreferences.h"
#include "PromptVariableValueStore.h"
#include "SettingsView.h"
#include "ShortcutSettingsStore.h"

#include <QSettings>

struct SettingsHarness {
    // A voice that remembers which sound it was made for.
    struct SilentVoice : PromptCopySoundPlayback {
        bool isPlaying() const override { return false; }
        void stop() override {}
        void setCurrentTime(double) override {}
        bool play() override { return true; }
    };

    SettingsHarness(PromptStore& store, QSettings* settings, const UpdateBundleValues& updateValues = {},
                    AppUpdateController::UrlOpener openUrl = [](const QUrl&) {})
        : store(store)
    {
        ContextDetector::Configuration detection;
        detection.startsTimer = false;
        detector = std::make_unique<ContextDetector>(detection);
        languages = std::make_unique<AppLanguageStore>(settings, [] { return QStringList{QStringLiteral("en")}; });
        shortcuts = std::make_unique<ShortcutSettingsStore>(settings, [this] { return languages->effectiveLanguage(); });
        firstRun = std::make_unique<FirstRunChecklistStore>(settings);
        login = std::make_shared<FakeLaunchAtLoginService>();
        loginController = std::make_unique<LaunchAtLoginController>(login);
        updates = std::make_unique<AppUpdateController>(
            updateValues,
            [this](const QUrl&, const QByteArray&) {
                auto made = std::make_unique<FakeUpdateChecker>();
                checker = made.get();
                return made;
            },
            std::move(openUrl));
        preferences = std::make_unique<PromptPanelPreferences>(settings);
        player = std::make_unique<PromptCopySoundPlayer>([this](const QString& name) {
            soundsMade.append(name);
            return std::make_unique<SilentVoice>();
        });
        values = std::make_unique<PromptVariableValueStore>(settings);
        clipboard = std::make_shared<FakeClipboard>();
        actions = std::make_unique<PromptActionService>(clipboard);
        hotKeys = std::make_unique<HotKeyService>(&registrar);
        desktop.current.session = DesktopSessionReport::Session::x11;
        desktop.current.hotKeyFacility = DesktopSessionReport::HotKeyFacility::x11Grab;
    }

    SettingsView::Dependencies dependencies()
    {
        return {&store,        shortcuts.get(), firstRun.get(), loginController.get(), updates.get(),
                languages.get(), preferences.get(), player.get(), values.get(),      actions.get(),
                hotKeys.get(), &desktop,       detector.get()};
    }

    PromptStore& store;
    std::unique_ptr<ContextDetector> detector;
    std::unique_ptr<AppLanguageStore> languages;
    std::unique_ptr<ShortcutSettingsStore> shortcuts;
    std::unique_ptr<FirstRunChecklistStore> firstRun;
    std::shared_ptr<FakeLaunchAtLoginService> login;
    std::unique_ptr<LaunchAtLoginController> loginController;
    FakeUpdateChecker* checker = nullptr;
    std::unique_ptr<AppUpdateController> updates;
    std::unique_ptr<PromptPanelPreferences> preferences;
    QStringList soundsMade;
    std::unique_ptr<PromptCopySoundPlayer> player;
    std::unique_ptr<PromptVariableValueStore> values;
    std::shared_ptr<FakeClipboard> clipboard;
    std::unique_ptr<PromptActionService> actions;
    FakeHotKeyRegistrar registrar;
    std::unique_ptr<HotKeyService> hotKeys;
    FakeDesktopSessionProbe desktop;
};
