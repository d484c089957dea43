// A library on disk for the workspace manager: a temporary home with real prompt files, the real
// loader, binding and usage stores (the bindings' writer can be told to fail), the language store,
// a fake file chooser, and the manager itself, shown at its window's size.
#pragma once

#include "AppLanguageStore.h"
#include "BackgroundPromptConfigLoader.h"
#include "ContextBindingStore.h"
#include "FakeFileChooser.h"
#include "PromptStore.h"
#include "SecureFileWriter.h"
#include "WorkspaceManagerView.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <memory>

struct WorkspaceManagerHarness {
    QTemporaryDir home;
    QSettings settings{home.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    // Answers whether a write of the bindings file fails; absent: none does.
    std::function<bool(const QByteArray& data, const QString& path)> failBindingWrite;
    AppLanguageStore languages{&settings, [] {
                                   return QStringList{QStringLiteral("en")};
                               }};
    std::shared_ptr<ContextBindingStore> bindings;
    std::unique_ptr<PromptStore> store;
    FakeFileChooser chooser;
    std::unique_ptr<WorkspaceManagerView> view;

    WorkspaceManagerHarness()
    {
        QStandardPaths::setTestModeEnabled(true);
        ContextBindingStore::Dependencies dependencies;
        dependencies.writeData = [this](const QByteArray& data, const QString& path) -> Expected<void> {
            if (failBindingWrite && failBindingWrite(data, path))
                return AppError::posix(EIO);
            return SecureFileWriter::writeData(data, path);
        };
        dependencies.languageProvider = [this] {
            return languages.effectiveLanguage();
        };
        bindings = std::make_shared<ContextBindingStore>(homePath(), dependencies);
        store = std::make_unique<PromptStore>(
            homePath(), [this] { return languages.effectiveLanguage(); }, &settings,
            PromptStore::Collaborators{std::make_shared<BackgroundPromptConfigLoader>(homePath()), nullptr,
                                       bindings, nullptr},
            false);
    }
    ~WorkspaceManagerHarness() { view.reset(); }

    QString homePath() const { return QDir(home.path()).canonicalPath(); }
    QString path(const QString& relative) const
    {
        return homePath() + QStringLiteral("/.velmora/") + relative;
    }

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

    // Every file under .velmora with its bytes, to show that nothing changed.
    QMap<QString, QByteArray> snapshot() const
    {
        QMap<QString, QByteArray> files;
        QDirIterator it(path({}), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            files.insert(file.fileName(), file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
        }
        return files;
    }

    // The manager shown, after the reload its appearing starts.
    void open(const std::optional<QString>& initialWorkspaceID = std::nullopt)
    {
        view.reset();
        WorkspaceManagerView::Dependencies dependencies;
        dependencies.promptStore = store.get();
        dependencies.languageStore = &languages;
        dependencies.fileChooser = &chooser;
        view = std::make_unique<WorkspaceManagerView>(dependencies, initialWorkspaceID);
        view->resize(980, 680);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QTRY_VERIFY(!store->isReloading());
    }

    void reload() const
    {
        QFuture<void> done = store->reloadAndWait();
        QTRY_VERIFY(done.isFinished());
    }
};
