// A library on disk for the editing sheets: a temporary home with real prompt files, the real loader
// and binding store (whose writes can be made to fail), the store over them, a window that presents
// sheets, and the hand of "another program" that changes the files between a load and a save.
#pragma once

#include "AppLanguage.h"
#include "BackgroundPromptConfigLoader.h"
#include "ContextBindingStore.h"
#include "Localization.h"
#include "PromptStore.h"
#include "SecureFileWriter.h"
#include "VelmoraSheetHost.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <memory>

struct EditorSheetHome {
    QTemporaryDir home;
    QSettings settings{home.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    bool failBindingWrites = false;
    AppLanguage language = AppLanguage::english;
    std::shared_ptr<ContextBindingStore> bindings;
    std::unique_ptr<PromptStore> store;
    QWidget window;

    EditorSheetHome()
    {
        QStandardPaths::setTestModeEnabled(true);
        ContextBindingStore::Dependencies dependencies;
        dependencies.writeData = [this](const QByteArray& data, const QString& path) -> Expected<void> {
            if (failBindingWrites)
                return AppError::posix(EIO);
            return SecureFileWriter::writeData(data, path);
        };
        dependencies.languageProvider = [this] { return language; };
        bindings = std::make_shared<ContextBindingStore>(homePath(), dependencies);
        store = std::make_unique<PromptStore>(
            homePath(), [this] { return language; }, &settings,
            PromptStore::Collaborators{std::make_shared<BackgroundPromptConfigLoader>(homePath()), nullptr,
                                       bindings, nullptr},
            false);
        window.resize(900, 700);
    }

    QString homePath() const { return QDir(home.path()).canonicalPath(); }
    QString path(const QString& relative) const { return homePath() + QStringLiteral("/.velmora/") + relative; }

    void write(const QString& relative, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        QFile file(path(relative));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    QByteArray read(const QString& relative) const
    {
        QFile file(path(relative));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void reload() const
    {
        QFuture<void> done = store->reloadAndWait();
        QTRY_VERIFY(done.isFinished());
    }

    const PromptWorkspace* workspace(const QString& id) const
    {
        for (const PromptWorkspace& each : store->workspaces()) {
            if (each.id == id)
                return &each;
        }
        return nullptr;
    }

    // The sheet in a host over the test window, shown and active.
    VelmoraSheetHost* present(QWidget* sheet)
    {
        if (!window.isVisible()) {
            window.show();
            if (!QTest::qWaitForWindowExposed(&window))
                return nullptr;
        }
        auto* host = new VelmoraSheetHost(&window, sheet);
        host->present();
        return QTest::qWaitForWindowExposed(host) ? host : nullptr;
    }
};
