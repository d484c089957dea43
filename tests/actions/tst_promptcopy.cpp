#include "FakeClipboard.h"
#include "PromptCopyCoordinator.h"
#include "PromptCopyFeedback.h"
#include "PromptCopySoundPlayer.h"
#include "PromptVariableValueStore.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using Values = QHash<QString, QString>;
Q_DECLARE_METATYPE(Values)

namespace {

PromptItem prompt(const QString& text, const QString& id = u"p"_s)
{
    PromptItem item;
    item.id = id;
    item.title = id;
    item.text = text;
    return item;
}

// A voice that plays until the test says it finished; can be made to refuse.
struct FakeVoice : PromptCopySoundPlayback {
    explicit FakeVoice(QStringList* journal, int number) : journal(journal), number(number) {}
    bool isPlaying() const override { return playing; }
    void stop() override
    {
        playing = false;
        journal->append(u"stop %1"_s.arg(number));
    }
    void setCurrentTime(double) override {}
    bool play() override
    {
        journal->append(u"play %1"_s.arg(number));
        playing = !refuses;
        return !refuses;
    }
    QStringList* journal;
    int number;
    bool playing = false;
    bool refuses = false;
};

} // namespace

class TestPromptCopy : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_settings;
    std::shared_ptr<FakeClipboard> m_clipboard;
    std::unique_ptr<PromptActionService> m_actions;
    std::unique_ptr<PromptVariableValueStore> m_memory;
    const QDateTime m_now = QDateTime(QDate(2026, 11, 23), QTime(10, 0), Qt::UTC);

    PromptCopyCoordinator coordinator() const
    {
        return PromptCopyCoordinator(*m_actions, *m_memory, [this] { return m_now; });
    }

private Q_SLOTS:
    void init()
    {
        m_settings = std::make_unique<QSettings>(m_dir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        m_settings->clear();
        m_clipboard = std::make_shared<FakeClipboard>();
        m_actions = std::make_unique<PromptActionService>(m_clipboard);
        m_memory = std::make_unique<PromptVariableValueStore>(m_settings.get());
    }

    void preparation_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("requiresValues");
        QTest::addColumn<Values>("initialValues");
        QTest::newRow("no markers") << u"Review this."_s << false << Values{};
        QTest::newRow("only a rejected marker") << u"Keep {{}} braces"_s << false << Values{};
        QTest::newRow("empty default starts empty, memory not asked")
            << u"{{a|}}"_s << true << Values{{u"a"_s, u""_s}};
        QTest::newRow("remembered value") << u"{{b}}"_s << true << Values{{u"b"_s, u"remembered"_s}};
        QTest::newRow("nothing remembered still has the key")
            << u"{{c}}"_s << true << Values{{u"c"_s, u""_s}};
        QTest::newRow("a default beats the memory") << u"{{A|x}}"_s << true << Values{{u"a"_s, u"x"_s}};
    }

    void preparation()
    {
        QFETCH(QString, text);
        QFETCH(bool, requiresValues);
        QFETCH(Values, initialValues);
        m_memory->record(u"remembered"_s, u"b"_s, m_now);
        m_memory->record(u"typed before"_s, u"a"_s, m_now);
        const PromptCopyPreparation preparation = coordinator().prepare(prompt(text));
        QCOMPARE(preparation.requiresValues(), requiresValues);
        if (!requiresValues) {
            QCOMPARE(preparation.immediateText(), text);
            return;
        }
        QCOMPARE(preparation.form().promptID, u"p"_s);
        QCOMPARE(preparation.form().templateText, text);
        QCOMPARE(preparation.form().initialValues, initialValues);
    }

    void submission_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Values>("values");
        QTest::addColumn<QStringList>("required");
        QTest::addColumn<QString>("copied");
        QTest::newRow("empty default accepted, renders as nothing")
            << u"[{{a|}}]"_s << Values{{u"a"_s, u""_s}} << QStringList{} << u"[]"_s;
        QTest::newRow("spaces for a required variable")
            << u"{{Name}} {{city}}"_s << Values{{u"name"_s, u"  "_s}} << QStringList{u"name"_s, u"city"_s}
            << u""_s;
        QTest::newRow("spaces for a defaulted variable are kept")
            << u"<{{x|d}}>"_s << Values{{u"x"_s, u"  "_s}} << QStringList{} << u"<  >"_s;
        QTest::newRow("an emptied default renders as nothing")
            << u"<{{x|d}}>"_s << Values{{u"x"_s, u""_s}} << QStringList{} << u"<>"_s;
        QTest::newRow("required names in form order, normalised")
            << u"{{Zeta}} {{alpha}} {{ok|1}}"_s << Values{} << QStringList{u"zeta"_s, u"alpha"_s} << u""_s;
    }

    void submission()
    {
        QFETCH(QString, text);
        QFETCH(Values, values);
        QFETCH(QStringList, required);
        QFETCH(QString, copied);
        const PromptCopyCoordinator copy = coordinator();
        const PromptVariableForm form = copy.prepare(prompt(text)).form();
        const PromptCopySubmissionResult result = copy.submit(form, values);
        if (!required.isEmpty()) {
            QCOMPARE(result.kind, PromptCopySubmissionResult::Kind::validationFailed);
            QCOMPARE(result.requiredNames, required);
            QVERIFY(m_clipboard->writes.isEmpty());
            QVERIFY(m_memory->records().isEmpty());
            return;
        }
        QCOMPARE(result.kind, PromptCopySubmissionResult::Kind::copy);
        QCOMPARE(result.result, PromptCopyResult::success);
        QCOMPARE(m_clipboard->contents, copied);
    }

    void valuesAreRememberedOnlyAfterASuccessfulCopy()
    {
        const PromptCopyCoordinator copy = coordinator();
        const PromptVariableForm form = copy.prepare(prompt(u"{{City}} {{note|}}"_s)).form();
        m_clipboard->refuses = true;
        QCOMPARE(copy.submit(form, {{u"city"_s, u"Paris"_s}, {u"note"_s, u""_s}}).result,
                 PromptCopyResult::clipboardFailure);
        QVERIFY(m_memory->records().isEmpty());
        QVERIFY(m_clipboard->contents.isEmpty()); // the clipboard was emptied, not left as it was

        m_clipboard->refuses = false;
        QCOMPARE(copy.submit(form, {{u"city"_s, u" Paris "_s}, {u"note"_s, u""_s}}).result,
                 PromptCopyResult::success);
        QCOMPARE(m_memory->value(u"city"_s), std::optional<QString>(u" Paris "_s)); // as typed, untrimmed
        QCOMPARE(m_memory->value(u"note"_s), std::nullopt);                         // empty is not recorded
        QCOMPARE(m_memory->records().first().updatedAt, m_now);
    }

    void retryResolvesOnlyTheSameFailure()
    {
        const PromptItem failed = prompt(u"text"_s, u"b"_s);
        const auto failure = std::optional(PromptCopyFeedback::failed(u"b"_s));
        QCOMPARE(PromptCopyRetry::resolve(failure, failed, u"b"_s), std::optional(failed));
        QCOMPARE(PromptCopyRetry::resolve(failure, failed, u"a"_s), std::nullopt);
        QCOMPARE(PromptCopyRetry::resolve(std::optional(PromptCopyFeedback::copied(u"b"_s)), failed, u"b"_s),
                 std::nullopt);
        QCOMPARE(PromptCopyRetry::resolve(failure, std::nullopt, u"b"_s), std::nullopt);
        QCOMPARE(PromptCopyRetry::resolve(failure, prompt(u"x"_s, u"c"_s), u"b"_s), std::nullopt);
    }

    void aLaterCopyRestartsTheMarksLifetime()
    {
        PromptCopyFeedbackLifetime lifetime;
        std::optional<PromptCopyFeedback> shown = PromptCopyFeedback::copied(u"a"_s);
        const qint64 first = lifetime.begin();
        const PromptCopyFeedback firstMark = *shown;
        const qint64 second = lifetime.begin(); // another copy of the same prompt a second later
        QVERIFY(!lifetime.isCurrent(first, shown, firstMark));
        QVERIFY(lifetime.isCurrent(second, shown, firstMark));
        shown = PromptCopyFeedback::failed(u"b"_s); // a failure replaced the mark: it stays
        QVERIFY(!lifetime.isCurrent(second, shown, firstMark));
    }

    void voices()
    {
        QStringList journal;
        QList<FakeVoice*> made;
        int refuseNext = 0;
        PromptCopySoundPlayer player([&](const QString& name) -> std::unique_ptr<PromptCopySoundPlayback> {
            if (name == u"Unknown")
                return nullptr;
            auto voice = std::make_unique<FakeVoice>(&journal, int(made.size()));
            voice->refuses = refuseNext > 0;
            refuseNext = std::max(0, refuseNext - 1);
            made.append(voice.get());
            return voice;
        });

        for (int i = 0; i < 5; ++i)
            player.play(u"Glass"_s);
        QCOMPARE(player.voiceCount(), 4);
        QCOMPARE(made.size(), 4);
        QCOMPARE(journal.mid(journal.size() - 2),
                 (QStringList{u"stop 0"_s, u"play 0"_s})); // fifth restarts 0
        QCOMPARE(player.nextBusyVoiceIndex(), 1);

        made[2]->playing = false; // a finished voice is reused ahead of the busy ones
        player.play(u"Glass"_s);
        QCOMPARE(journal.last(), u"play 2"_s);
        QCOMPARE(made.size(), 4);

        journal.clear();
        player.selectSound(u"Ping"_s); // a new sound stops every voice, sounding or not
        QCOMPARE(journal.count(u"stop 0"_s) + journal.count(u"stop 3"_s), 2);
        QCOMPARE(player.voiceCount(), 0);
        QCOMPARE(player.currentSoundName(), std::optional<QString>(u"Ping"_s));

        player.selectSound(QString());
        QCOMPARE(player.currentSoundName(), std::nullopt);
        player.play(QString());
        QCOMPARE(player.voiceCount(), 0);

        player.play(u"Unknown"_s); // unknown: remembered, silent
        QCOMPARE(player.currentSoundName(), std::optional<QString>(u"Unknown"_s));
        QCOMPARE(player.voiceCount(), 0);

        refuseNext = 1; // a bad voice is replaced once
        player.play(u"Hero"_s);
        QCOMPARE(player.voiceCount(), 1);
        QVERIFY(made.last()->playing);
        QCOMPARE(player.nextBusyVoiceIndex(), 1);

        refuseNext = 2; // and dropped when the replacement fails too
        player.selectSound(u"Pop"_s);
        player.play(u"Pop"_s);
        QCOMPARE(player.voiceCount(), 0);
        QCOMPARE(player.nextBusyVoiceIndex(), 0);
    }
};

QTEST_GUILESS_MAIN(TestPromptCopy)
#include "tst_promptcopy.moc"
