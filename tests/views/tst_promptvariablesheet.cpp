// The variable form as a user fills it in: its height, the required marks and hints, one
// confirmation however often Return is pressed, errors that follow the answers and the typing, and
// where the focus goes.
#include "PromptVariableSheet.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;
using Kind = PromptCopySubmissionResult::Kind;

namespace {

// Markers as a prompt holds them; the form starts as the copy coordinator would fill it.
PromptVariableForm form(const QString& templateText)
{
    PromptVariableForm result;
    result.promptID = u"p"_s;
    result.templateText = templateText;
    result.variables = PromptVariableParser::variables(templateText);
    for (const PromptVariable& variable : std::as_const(result.variables))
        result.initialValues.insert(variable.normalizedName, variable.defaultValue.value_or(QString()));
    return result;
}

struct Harness {
    QList<QHash<QString, QString>> confirmations;
    QList<PromptCopySubmissionResult> answers; // one per confirmation; the last repeats
    int cancels = 0;
    QWidget presenter;
    VelmoraSheetHost* host = nullptr;
    PromptVariableSheet* sheet = nullptr;

    explicit Harness(const PromptVariableForm& variables,
                     PromptPanelTextSize size = PromptPanelTextSize::system)
    {
        presenter.resize(520, 640);
        presenter.show();
        sheet = new PromptVariableSheet(
            variables,
            [this](const QHash<QString, QString>& values) {
                confirmations.append(values);
                return answers.at(std::min(confirmations.size(), answers.size()) - 1);
            },
            [this] { ++cancels; }, size, AppLanguage::english);
        host = new VelmoraSheetHost(&presenter, sheet);
        host->present();
    }
    ~Harness() { delete host; }
};

PromptCopySubmissionResult missing(const QStringList& names)
{
    return {Kind::validationFailed, names, PromptCopyResult::success};
}

const PromptCopySubmissionResult copied{Kind::copy, {}, PromptCopyResult::success};

} // namespace

class TestPromptVariableSheet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void heightGrowsWithTheVariablesUpTo520()
    {
        QCOMPARE(PromptVariableSheet::heightFor(1), 252);
        QCOMPARE(PromptVariableSheet::heightFor(4), 498);
        QCOMPARE(PromptVariableSheet::heightFor(5), 520);
        Harness harness(form(u"{{a}} {{b}} {{c}} {{d}} {{e}}"_s), PromptPanelTextSize::large);
        QCOMPARE(harness.sheet->size(), QSize(440, 520));
        QCOMPARE(harness.host->size(), QSize(440, 520));
        // With every error showing, the rows need more room than the sheet has: they scroll, and the
        // first missing field is brought into view.
        harness.answers = {missing({u"e"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s})};
        harness.sheet->confirmOnce();
        QTRY_VERIFY(harness.sheet->scrollArea()->verticalScrollBar()->maximum() > 0);
        QCOMPARE(harness.sheet->focusedVariableName(), std::optional(u"a"_s));
    }

    void rowsSayWhatIsRequired()
    {
        Harness harness(form(u"{{Name}} {{lang|}} {{goal|ship}}"_s));
        QVERIFY(harness.sheet->requiredLabel(u"name"_s));
        QVERIFY(!harness.sheet->requiredLabel(u"lang"_s)); // an empty default counts as a default
        QVERIFY(!harness.sheet->requiredLabel(u"goal"_s));
        QLineEdit* name = harness.sheet->field(u"name"_s);
        QCOMPARE(name->placeholderText(), u"Name"_s);
        QCOMPARE(name->accessibleName(), u"Name"_s);
        QCOMPARE(name->accessibleDescription(), u"Required. Enter a value to copy the prompt."_s);
        QCOMPARE(harness.sheet->field(u"goal"_s)->accessibleDescription(),
                 u"Optional. Starts with its default value."_s);
        QCOMPARE(harness.sheet->field(u"goal"_s)->text(), u"ship"_s);
        QCOMPARE(harness.sheet->errorLabel(u"name"_s)->accessibleName(), u"Name: Enter a value."_s);
        // The first field has the focus from the start.
        QTRY_VERIFY(name->hasFocus());
    }

    void returnTwiceConfirmsOnce()
    {
        Harness harness(form(u"{{a}}"_s));
        harness.answers = {copied};
        QLineEdit* field = harness.sheet->field(u"a"_s);
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClicks(field, u"x"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClick(field, Qt::Key_Return);
        QTest::mouseClick(harness.sheet->copyButton(), Qt::LeftButton);
        QCOMPARE(harness.confirmations.size(), 1);
        QCOMPARE(harness.confirmations.first().value(u"a"_s), u"x"_s);
        QVERIFY(harness.sheet->isSubmitting());
        QVERIFY(!harness.sheet->copyButton()->isEnabled());
    }

    void marksAreReplacedAndClearedAsTyped()
    {
        Harness harness(form(u"{{a}} {{b}} {{c}}"_s));
        harness.answers = {missing({u"a"_s, u"b"_s}), missing({u"b"_s, u"c"_s})};
        const auto errors = [&harness] {
            QStringList shown;
            for (const QString& name : {u"a"_s, u"b"_s, u"c"_s}) {
                if (harness.sheet->errorLabel(name)->isVisibleTo(harness.sheet))
                    shown << name;
            }
            return shown;
        };
        QTest::keyClick(harness.sheet->field(u"a"_s), Qt::Key_Return);
        QCOMPARE(errors(), (QStringList{u"a"_s, u"b"_s}));
        QVERIFY(!harness.sheet->isSubmitting());
        // A blank isn't a value; a letter is, and only for its own row.
        QTest::keyClicks(harness.sheet->field(u"a"_s), u" "_s);
        QCOMPARE(errors(), (QStringList{u"a"_s, u"b"_s}));
        QTest::keyClicks(harness.sheet->field(u"a"_s), u"k"_s);
        QCOMPARE(errors(), (QStringList{u"b"_s}));
        // The next answer replaces the marks.
        harness.sheet->confirmOnce();
        QCOMPARE(errors(), (QStringList{u"b"_s, u"c"_s}));
        QCOMPARE(harness.confirmations.size(), 2);
        QCOMPARE(harness.confirmations.last().value(u"a"_s), u" k"_s);
    }

    void focusGoesToTheFirstMissingFieldInFormOrder()
    {
        Harness harness(form(u"{{first}} {{second}} {{third}}"_s));
        harness.answers = {missing({u"third"_s, u"second"_s})};
        QTRY_VERIFY(harness.sheet->field(u"first"_s)->hasFocus());
        QTest::keyClicks(harness.sheet->field(u"first"_s), u"done"_s);
        harness.sheet->confirmOnce();
        QTRY_VERIFY(harness.sheet->field(u"second"_s)->hasFocus());
        QCOMPARE(harness.sheet->focusedVariableName(), std::optional(u"second"_s));
        QCOMPARE(harness.sheet->values().value(u"first"_s), u"done"_s);
    }

    void aClearedOptionalFieldIsSentEmpty()
    {
        Harness harness(form(u"{{goal|ship}}"_s));
        harness.answers = {copied};
        QLineEdit* goal = harness.sheet->field(u"goal"_s);
        QTRY_VERIFY(goal->hasFocus());
        goal->selectAll();
        QTest::keyClick(goal, Qt::Key_Backspace);
        QTest::keyClick(goal, Qt::Key_Return);
        QCOMPARE(harness.confirmations.size(), 1);
        QCOMPARE(harness.confirmations.first(), (QHash<QString, QString>{{u"goal"_s, QString()}}));
        QVERIFY(!harness.sheet->errorLabel(u"goal"_s)->isVisibleTo(harness.sheet));
    }

    void escapeAndCancelCancel()
    {
        Harness harness(form(u"{{a}}"_s));
        QTRY_VERIFY(harness.sheet->field(u"a"_s)->hasFocus());
        QTest::keyClick(harness.sheet->field(u"a"_s), Qt::Key_Escape);
        QTest::mouseClick(harness.sheet->cancelButton(), Qt::LeftButton);
        QCOMPARE(harness.cancels, 2);
        QVERIFY(harness.confirmations.isEmpty());
    }
};

QTEST_MAIN(TestPromptVariableSheet)
#include "tst_promptvariablesheet.moc"
