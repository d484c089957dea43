// The stores and services a prompt panel runs on, over a store fixture's preferences: the clipboard
// and the sounds are the test's, the haptic only counts, and no context is ever detected.
#pragma once

#include "AppLanguageStore.h"
#include "ContextDetector.h"
#include "FirstRunChecklistStore.h"
#include "HapticFeedbackPerforming.h"
#include "PromptActionService.h"
#include "PromptCopySoundPlayer.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelView.h"
#include "PromptStore.h"
#include "PromptVariableValueStore.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraMorphState.h"

#include <QSettings>

struct PromptPanelHarness {
    struct CountingHaptic : HapticFeedbackPerforming {
        int performed = 0;
        void perform() override { ++performed; }
    };

    PromptPanelHarness(PromptStore& store, QSettings* settings, std::shared_ptr<ClipboardWriting> clipboard,
                       PromptCopySoundFactory sounds, VelmoraMorphState::Scheduler morphScheduler = {})
        : store(store)
    {
        ContextDetector::Configuration configuration;
        configuration.startsTimer = false;
        detector = std::make_unique<ContextDetector>(configuration);
        shortcuts = std::make_unique<ShortcutSettingsStore>(settings, [] { return AppLanguage::english; });
        morph = std::make_unique<VelmoraMorphState>(std::move(morphScheduler));
        languages =
            std::make_unique<AppLanguageStore>(settings, [] { return QStringList{QStringLiteral("en")}; });
        actions = std::make_unique<PromptActionService>(std::move(clipboard));
        player = std::make_unique<PromptCopySoundPlayer>(std::move(sounds));
        firstRun = std::make_unique<FirstRunChecklistStore>(settings);
        values = std::make_unique<PromptVariableValueStore>(settings);
        preferences = std::make_unique<PromptPanelPreferences>(settings);
    }

    PromptPanelView::Dependencies dependencies()
    {
        return {&store,       detector.get(), shortcuts.get(), morph.get(), languages.get(),  actions.get(),
                player.get(), firstRun.get(), values.get(),    &haptic,     preferences.get()};
    }

    PromptStore& store;
    std::unique_ptr<ContextDetector> detector;
    std::unique_ptr<ShortcutSettingsStore> shortcuts;
    std::unique_ptr<VelmoraMorphState> morph;
    std::unique_ptr<AppLanguageStore> languages;
    std::unique_ptr<PromptActionService> actions;
    std::unique_ptr<PromptCopySoundPlayer> player;
    std::unique_ptr<FirstRunChecklistStore> firstRun;
    std::unique_ptr<PromptVariableValueStore> values;
    std::unique_ptr<PromptPanelPreferences> preferences;
    CountingHaptic haptic;
};
