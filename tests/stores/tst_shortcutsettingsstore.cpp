#include "ShortcutSettingsStore.h"

#include "Localization.h"
#include "Preferences.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString toggleKey = QString::fromLatin1(ShortcutSettingsStore::key);
const QString tileKey = QString::fromLatin1(ShortcutSettingsStore::promptTileShortcutKey);
const QString hoverKey = QString::fromLatin1(ShortcutSettingsStore::hoverOpenEnabledKey);
const QString hapticsKey = QString::fromLatin1(ShortcutSettingsStore::copyHapticsEnabledKey);
const QString soundKey = QString::fromLatin1(ShortcutSettingsStore::copySoundNameKey);

QByteArray shortcutJson(quint32 keyCode, quint64 modifiers)
{
    return PromptKeyboardShortcut{keyCode, modifiers}.encodedJson();
}

} // namespace

class TestShortcutSettingsStore : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    AppLanguage m_language = AppLanguage::english;

    QString path() const { return m_dir.filePath(u"settings.ini"_s); }
    std::unique_ptr<QSettings> settings() const
    {
        return std::make_unique<QSettings>(path(), QSettings::IniFormat);
    }
    std::unique_ptr<ShortcutSettingsStore> makeStore(QSettings* defaults)
    {
        return std::make_unique<ShortcutSettingsStore>(defaults, [this] { return m_language; });
    }
    // A store over a fresh settings object on the file.
    std::pair<std::unique_ptr<QSettings>, std::unique_ptr<ShortcutSettingsStore>> open()
    {
        auto defaults = settings();
        auto store = makeStore(defaults.get());
        return {std::move(defaults), std::move(store)};
    }

private Q_SLOTS:
    void init()
    {
        settings()->clear();
        m_language = AppLanguage::english;
    }

    void keysAndDefaults()
    {
        QCOMPARE(toggleKey, u"Velmora.togglePanelShortcut.v1"_s);
        QCOMPARE(tileKey, u"Velmora.promptTileShortcut.v1"_s);
        QCOMPARE(hoverKey, u"Velmora.hoverOpenEnabled.v1"_s);
        QCOMPARE(hapticsKey, u"Velmora.copyHapticsEnabled.v1"_s);
        QCOMPARE(soundKey, u"Velmora.copySoundName.v1"_s);

        auto [defaults, store] = open();
        QCOMPARE(store->togglePanelShortcut(), (PromptKeyboardShortcut{35, 393216}));
        QCOMPARE(store->togglePanelShortcut().displayString(), u"Super+Shift+P"_s);
        QCOMPARE(store->promptTileShortcut(), PromptTileShortcut{1048576});
        QCOMPARE(store->hotKeyStatus(), HotKeyStatus::idle());
        QCOMPARE(store->hoverOpenEnabled(), false);
        QCOMPARE(store->copyHapticsEnabled(), true);
        QCOMPARE(store->copySoundName(), u"Glass"_s);
        QVERIFY(defaults->allKeys().isEmpty()); // reading writes nothing
    }

    void readsStoredValuesBackFromDisk()
    {
        {
            auto [defaults, store] = open();
            store->save({0, ShortcutModifiers::command | ShortcutModifiers::option});
            store->savePromptTileShortcut({ShortcutModifiers::option});
            store->setHoverOpenEnabled(true);
            store->setCopyHapticsEnabled(false);
            store->setCopySoundName(QString());
        }
        // A fresh file object: what the INI file holds, without types.
        auto [defaults, store] = open();
        QCOMPARE(store->togglePanelShortcut(), (PromptKeyboardShortcut{0, 1572864}));
        QCOMPARE(store->promptTileShortcut(), PromptTileShortcut{524288});
        QCOMPARE(store->hoverOpenEnabled(), true);
        QCOMPARE(store->copyHapticsEnabled(), false);
        QCOMPARE(store->copySoundName(), QString()); // "off" is a value, not an absence
    }

    void togglePanelShortcutLoading_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<PromptKeyboardShortcut>("loaded");
        QTest::addColumn<bool>("rewritten");
        const PromptKeyboardShortcut fallback = ShortcutSettingsStore::defaultTogglePanelShortcut;
        QTest::newRow("option space is replaced") << QVariant(shortcutJson(49, 524288)) << fallback << true;
        QTest::newRow("control option space is replaced")
            << QVariant(shortcutJson(49, 786432)) << fallback << true;
        QTest::newRow("command space stays")
            << QVariant(shortcutJson(49, 1048576)) << PromptKeyboardShortcut{49, 1048576} << false;
        QTest::newRow("option space with shift stays")
            << QVariant(shortcutJson(49, 655360)) << PromptKeyboardShortcut{49, 655360} << false;
        QTest::newRow("shift only gives the default without a rewrite")
            << QVariant(shortcutJson(35, 131072)) << fallback << false;
        QTest::newRow("no modifier") << QVariant(shortcutJson(35, 0)) << fallback << false;
        QTest::newRow("not JSON") << QVariant(QByteArray("35:393216")) << fallback << false;
        QTest::newRow("JSON of another shape")
            << QVariant(QByteArray(R"({"keyCode":"P","modifiersRawValue":393216})")) << fallback << false;
        QTest::newRow("text instead of data")
            << QVariant(QString::fromLatin1(shortcutJson(0, 1048576))) << fallback << false;
        QTest::newRow("number instead of data") << QVariant(42) << fallback << false;
    }

    void togglePanelShortcutLoading()
    {
        QFETCH(QVariant, stored);
        QFETCH(PromptKeyboardShortcut, loaded);
        QFETCH(bool, rewritten);
        settings()->setValue(toggleKey, stored);
        const QVariant before = settings()->value(toggleKey);

        auto [defaults, store] = open();
        QCOMPARE(store->togglePanelShortcut(), loaded);
        defaults->sync();

        const QVariant after = settings()->value(toggleKey);
        if (rewritten)
            QCOMPARE(after.toByteArray(), ShortcutSettingsStore::defaultTogglePanelShortcut.encodedJson());
        else
            QCOMPARE(after, before);
    }

    void tileShortcutLoading_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<quint64>("loaded");
        QTest::newRow("option") << QVariant(PromptTileShortcut{524288}.encodedJson()) << quint64(524288);
        QTest::newRow("control option")
            << QVariant(PromptTileShortcut{786432}.encodedJson()) << quint64(786432);
        QTest::newRow("shift only") << QVariant(PromptTileShortcut{131072}.encodedJson()) << quint64(1048576);
        QTest::newRow("broken") << QVariant(QByteArray("{")) << quint64(1048576);
        QTest::newRow("text") << QVariant(u"1048576"_s) << quint64(1048576);
    }

    void tileShortcutLoading()
    {
        QFETCH(QVariant, stored);
        QFETCH(quint64, loaded);
        settings()->setValue(tileKey, stored);
        auto [defaults, store] = open();
        QCOMPARE(store->promptTileShortcut(), PromptTileShortcut{loaded});
        QCOMPARE(defaults->value(tileKey), stored);
    }

    void booleansAndSoundOfWrongTypes()
    {
        {
            auto defaults = settings();
            defaults->setValue(hoverKey, u"yes"_s);
            defaults->setValue(hapticsKey, 0);
            defaults->setValue(soundKey, QByteArray("Ping"));
        }
        auto [defaults, store] = open();
        QCOMPARE(store->hoverOpenEnabled(), false);
        QCOMPARE(store->copyHapticsEnabled(), true);
        QCOMPARE(store->copySoundName(), u"Glass"_s);

        defaults->setValue(hoverKey, u"true"_s);
        defaults->setValue(hapticsKey, u"false"_s);
        defaults->setValue(soundKey, u"Tink"_s);
        auto reread = makeStore(defaults.get());
        QCOMPARE(reread->hoverOpenEnabled(), true);
        QCOMPARE(reread->copyHapticsEnabled(), false);
        QCOMPARE(reread->copySoundName(), u"Tink"_s);
    }

    void settersWriteAtOnceAndNotifyOnChange()
    {
        auto [defaults, store] = open();
        QSignalSpy hover(store.get(), &ShortcutSettingsStore::hoverOpenEnabledChanged);
        QSignalSpy haptics(store.get(), &ShortcutSettingsStore::copyHapticsEnabledChanged);
        QSignalSpy sound(store.get(), &ShortcutSettingsStore::copySoundNameChanged);

        store->setHoverOpenEnabled(false); // the default, written all the same
        QCOMPARE(hover.count(), 0);
        QCOMPARE(Preferences::boolean(*defaults, hoverKey), std::optional<bool>(false));
        store->setHoverOpenEnabled(true);
        store->setCopyHapticsEnabled(false);
        store->setCopySoundName(u"Hero"_s);
        store->setCopySoundName(u"Hero"_s);
        QCOMPARE(hover.count(), 1);
        QCOMPARE(haptics.count(), 1);
        QCOMPARE(sound.count(), 1);
        QCOMPARE(Preferences::boolean(*defaults, hapticsKey), std::optional<bool>(false));
        QCOMPARE(defaults->value(soundKey).toString(), u"Hero"_s);
    }

    void saveWritesOnlyTheDefaults()
    {
        auto [defaults, store] = open();
        QSignalSpy toggle(store.get(), &ShortcutSettingsStore::togglePanelShortcutChanged);
        const PromptKeyboardShortcut chosen{40, ShortcutModifiers::option};
        store->save(chosen);
        QCOMPARE(toggle.count(), 0); // the registration sequence publishes it
        QCOMPARE(defaults->value(toggleKey).toByteArray(),
                 QByteArray(R"({"keyCode":40,"modifiersRawValue":524288})"));

        store->setTogglePanelShortcut(chosen);
        store->setTogglePanelShortcut(chosen);
        QCOMPARE(toggle.count(), 1);

        QSignalSpy tile(store.get(), &ShortcutSettingsStore::promptTileShortcutChanged);
        store->savePromptTileShortcut({ShortcutModifiers::control});
        QCOMPARE(tile.count(), 1);
        QCOMPARE(store->promptTileShortcut(), PromptTileShortcut{ShortcutModifiers::control});
        QCOMPARE(defaults->value(tileKey).toByteArray(), QByteArray(R"({"modifiersRawValue":262144})"));
    }

    void requestWithoutRequiredModifierIsInvalid()
    {
        auto [defaults, store] = open();
        store->setHotKeyStatus(HotKeyStatus::registered(store->togglePanelShortcut()));
        QSignalSpy requests(store.get(), &ShortcutSettingsStore::shortcutRequests);
        QSignalSpy status(store.get(), &ShortcutSettingsStore::hotKeyStatusChanged);

        store->requestTogglePanelShortcut({35, ShortcutModifiers::shift});
        QCOMPARE(store->hotKeyStatus(), HotKeyStatus::invalid());
        QCOMPARE(status.count(), 1);
        QCOMPARE(requests.count(), 0);
        QCOMPARE(store->togglePanelShortcut(), ShortcutSettingsStore::defaultTogglePanelShortcut);
        QVERIFY(!defaults->contains(toggleKey));
        QCOMPARE(store->hotKeyStatusMessage(), AppLocalizationCatalog::shared().string(
                                                   u"shortcut.error.needs.modifier"_s, AppLanguage::english));
    }

    void requestPublishesTheShortcut()
    {
        auto [defaults, store] = open();
        QSignalSpy requests(store.get(), &ShortcutSettingsStore::shortcutRequests);
        const PromptKeyboardShortcut wanted{40, ShortcutModifiers::command | ShortcutModifiers::shift};

        store->requestTogglePanelShortcut(wanted);
        QCOMPARE(store->hotKeyStatus(), HotKeyStatus::registering(wanted));
        QCOMPARE(requests.count(), 1);
        QCOMPARE(requests.at(0).at(0).value<PromptKeyboardShortcut>(), wanted);
        // Only the registration decides: nothing is stored or published as current yet.
        QCOMPARE(store->togglePanelShortcut(), ShortcutSettingsStore::defaultTogglePanelShortcut);
        QVERIFY(!defaults->contains(toggleKey));

        m_language = AppLanguage::zhHans;
        QCOMPARE(store->hotKeyStatusMessage(), AppLocalizationCatalog::shared()
                                                   .string(u"shortcut.registering"_s, AppLanguage::zhHans)
                                                   .arg(u"Ctrl+Shift+K"_s));
    }

    void copySoundOptions()
    {
        const QList<ShortcutSettingsStore::CopySoundOption> expected{
            {u"copy.sound.off"_s, QString()}, {u"Glass"_s, u"Glass"_s},
            {u"Ping"_s, u"Ping"_s},           {u"Pop"_s, u"Pop"_s},
            {u"Tink"_s, u"Tink"_s},           {u"Hero"_s, u"Hero"_s}};
        QCOMPARE(ShortcutSettingsStore::copySoundOptions(), expected);
    }
};

QTEST_GUILESS_MAIN(TestShortcutSettingsStore)
#include "tst_shortcutsettingsstore.moc"
