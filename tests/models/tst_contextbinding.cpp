#include "ContextBinding.h"

#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate).toUTC();
}

AgentWorkspaceBinding agentBinding(const QString& id, AgentType agent, const QString& workspaceID,
                                   const QDateTime& createdAt, bool isDefault = false)
{
    return AgentWorkspaceBinding{id, agent, u"App"_s, std::nullopt, workspaceID, isDefault, createdAt};
}

QStringList idsOf(const QList<AgentWorkspaceBinding>& bindings)
{
    QStringList ids;
    for (const AgentWorkspaceBinding& binding : bindings)
        ids.append(binding.id + (binding.isDefault ? u"*"_s : QString()));
    return ids;
}

QJsonObject object(const char* json)
{
    return QJsonDocument::fromJson(QByteArray(json)).object();
}

} // namespace

class TestContextBinding : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void datesAreReadFromNumbersAndIsoText_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QDateTime>("expected");
        const QDateTime invalid;
        QTest::newRow("zero is the reference date") << QJsonValue(0) << utc("2001-01-01T00:00:00Z");
        QTest::newRow("seconds with a fraction") << QJsonValue(1.5) << utc("2001-01-01T00:00:01.500Z");
        QTest::newRow("before the reference date") << QJsonValue(-86400) << utc("2000-12-31T00:00:00Z");
        QTest::newRow("iso in utc") << QJsonValue(u"2024-05-01T09:30:00Z"_s) << utc("2024-05-01T09:30:00Z");
        QTest::newRow("iso with an offset")
            << QJsonValue(u"2024-05-01T11:30:00+02:00"_s) << utc("2024-05-01T09:30:00Z");
        QTest::newRow("iso with milliseconds")
            << QJsonValue(u"2024-05-01T09:30:00.250Z"_s) << utc("2024-05-01T09:30:00.250Z");
        QTest::newRow("a date alone") << QJsonValue(u"2024-05-01"_s) << invalid;
        QTest::newRow("no zone") << QJsonValue(u"2024-05-01T09:30:00"_s) << invalid;
        QTest::newRow("no such day") << QJsonValue(u"2024-02-30T09:30:00Z"_s) << invalid;
        QTest::newRow("words") << QJsonValue(u"yesterday"_s) << invalid;
        QTest::newRow("a number as text") << QJsonValue(u"12345"_s) << invalid;
        QTest::newRow("boolean") << QJsonValue(true) << invalid;
        QTest::newRow("null") << QJsonValue(QJsonValue::Null) << invalid;
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << invalid;
        QTest::newRow("beyond year 9999") << QJsonValue(1e300) << invalid;
    }
    void datesAreReadFromNumbersAndIsoText()
    {
        QFETCH(QJsonValue, value);
        QFETCH(QDateTime, expected);
        const std::optional<QDateTime> decoded = decodeBindingDate(value);
        QCOMPARE(decoded.has_value(), expected.isValid());
        if (decoded)
            QCOMPARE(*decoded, expected);
    }

    void datesAreWrittenAsIsoTextInUtc()
    {
        const QDateTime date(QDate(2024, 5, 1), QTime(11, 30, 0), QTimeZone(7200));
        QCOMPARE(encodeBindingDate(date), u"2024-05-01T09:30:00Z"_s);
        QCOMPARE(decodeBindingDate(QJsonValue(encodeBindingDate(date))), std::optional(date));
    }

    void recordsRoundTrip_data()
    {
        QTest::addColumn<std::optional<QString>>("bundleIdentifier");
        QTest::newRow("with bundle") << std::optional<QString>(u"com.todesktop.230313mzl4w4u92"_s);
        QTest::newRow("without bundle") << std::optional<QString>();
    }
    void recordsRoundTrip()
    {
        QFETCH(std::optional<QString>, bundleIdentifier);
        const AgentWorkspaceBinding agent{
            u"A-1"_s, AgentType::cursor,          u"Cursor"_s, bundleIdentifier, u"web"_s,
            true,     utc("2024-05-01T09:30:00Z")};
        const QJsonObject agentObject = encodeAgentWorkspaceBinding(agent);
        QCOMPARE(agentObject.contains(u"bundleIdentifier"_s), bundleIdentifier.has_value());
        QCOMPARE(agentObject.value(u"agentType"_s).toString(), u"cursor"_s);
        QCOMPARE(agentObject.value(u"createdAt"_s).toString(), u"2024-05-01T09:30:00Z"_s);
        QCOMPARE(agentObject.keys(),
                 (QStringList{u"agentType"_s, u"appName"_s} +
                  (bundleIdentifier ? QStringList{u"bundleIdentifier"_s} : QStringList()) +
                  QStringList{u"createdAt"_s, u"id"_s, u"isDefault"_s, u"workspaceID"_s}));
        QCOMPARE(decodeAgentWorkspaceBinding(agentObject), std::optional(agent));

        const ContextBinding legacy{u"L-1"_s,     u"Cursor"_s, bundleIdentifier,
                                    u"velmora"_s, u"web"_s,    utc("2023-01-01T00:00:00Z")};
        const QJsonObject legacyObject = encodeContextBinding(legacy);
        QCOMPARE(legacyObject.contains(u"bundleIdentifier"_s), bundleIdentifier.has_value());
        QCOMPARE(decodeContextBinding(legacyObject), std::optional(legacy));
    }

    void agentBindingDecoding_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        const QJsonObject complete =
            object(R"({"id":"x","agentType":"zed","appName":"Zed","workspaceID":"w",)"
                   R"("isDefault":false,"createdAt":10})");
        const auto with = [&](const char* key, const QJsonValue& value) {
            QJsonObject changed = complete;
            changed.insert(QString::fromLatin1(key), value);
            return QJsonDocument(changed).toJson();
        };
        QTest::newRow("complete") << QJsonDocument(complete).toJson() << true;
        QTest::newRow("null bundle is absent") << with("bundleIdentifier", QJsonValue::Null) << true;
        QTest::newRow("bundle of the wrong type") << with("bundleIdentifier", 7) << false;
        QTest::newRow("agent of a newer version") << with("agentType", u"quantum"_s) << false;
        QTest::newRow("isDefault as text") << with("isDefault", u"true"_s) << false;
        QTest::newRow("date as an object") << with("createdAt", QJsonObject()) << false;
        for (const QString& field : complete.keys()) {
            QJsonObject partial = complete;
            partial.remove(field);
            QTest::addRow("without %s", qPrintable(field)) << QJsonDocument(partial).toJson() << false;
        }
    }
    void agentBindingDecoding()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        QCOMPARE(decodeAgentWorkspaceBinding(QJsonDocument::fromJson(json).object()).has_value(), decodes);
    }

    void legacyBindingNeedsEveryFieldButTheBundle()
    {
        const QJsonObject complete =
            object(R"({"id":"x","appName":"Zed","windowKeyword":"k","workspaceID":"w",)"
                   R"("createdAt":"2024-01-01T00:00:00Z"})");
        QVERIFY(decodeContextBinding(complete).has_value());
        for (const QString& field : complete.keys()) {
            QJsonObject partial = complete;
            partial.remove(field);
            QVERIFY2(!decodeContextBinding(partial).has_value(), qPrintable(field));
        }
    }

    void normalisation_data()
    {
        QTest::addColumn<QList<AgentWorkspaceBinding>>("input");
        QTest::addColumn<QStringList>("expected"); // ids in order, "*" marks the default
        const QDateTime early = utc("2024-01-01T00:00:00Z");
        const QDateTime late = utc("2024-06-01T00:00:00Z");

        QTest::newRow("the older of a pair survives")
            << QList{agentBinding(u"a"_s, AgentType::zed, u"w"_s, late),
                     agentBinding(u"b"_s, AgentType::zed, u"w"_s, early)}
            << QStringList{u"b"_s};
        QTest::newRow("equal times: the smaller id survives")
            << QList{agentBinding(u"B"_s, AgentType::zed, u"w"_s, early),
                     agentBinding(u"A"_s, AgentType::zed, u"w"_s, early)}
            << QStringList{u"A"_s};
        QTest::newRow("other workspaces and agents stay, sorted by time")
            << QList{agentBinding(u"late"_s, AgentType::zed, u"w"_s, late),
                     agentBinding(u"early"_s, AgentType::zed, u"v"_s, early),
                     agentBinding(u"cursor"_s, AgentType::cursor, u"w"_s, late)}
            << QStringList{u"early"_s, u"cursor"_s, u"late"_s};
        QTest::newRow("two defaults: the older stays")
            << QList{agentBinding(u"young"_s, AgentType::zed, u"w"_s, late, true),
                     agentBinding(u"old"_s, AgentType::zed, u"v"_s, early, true)}
            << QStringList{u"old*"_s, u"young"_s};
        QTest::newRow("defaults of different agents both stay")
            << QList{agentBinding(u"z"_s, AgentType::zed, u"w"_s, late, true),
                     agentBinding(u"c"_s, AgentType::cursor, u"v"_s, early, true)}
            << QStringList{u"c*"_s, u"z*"_s};
        QTest::newRow("equal default times: the first in order after sorting")
            << QList{agentBinding(u"y"_s, AgentType::zed, u"w"_s, early, true),
                     agentBinding(u"x"_s, AgentType::zed, u"v"_s, early, true)}
            << QStringList{u"x*"_s, u"y"_s};
        QTest::newRow("claude-code collapses into an older terminal binding")
            << QList{agentBinding(u"claude"_s, AgentType::claudeCode, u"w"_s, late, true),
                     agentBinding(u"term"_s, AgentType::terminal, u"w"_s, early)}
            << QStringList{u"term"_s};
        QTest::newRow("claude-code becomes terminal and wins when older")
            << QList{agentBinding(u"term"_s, AgentType::terminal, u"w"_s, late, true),
                     agentBinding(u"claude"_s, AgentType::claudeCode, u"w"_s, early)}
            << QStringList{u"claude"_s};
    }
    void normalisation()
    {
        QFETCH(QList<AgentWorkspaceBinding>, input);
        QFETCH(QStringList, expected);
        const QList<AgentWorkspaceBinding> normalized = normalizedAgentWorkspaceBindings(input);
        QCOMPARE(idsOf(normalized), expected);
        for (const AgentWorkspaceBinding& binding : normalized)
            QVERIFY(binding.agentType != AgentType::claudeCode);
        QCOMPARE(normalizedAgentWorkspaceBindings(normalized), normalized); // a fixed point
    }

    void lastSelectionsMoveFromClaudeCodeToTerminal_data()
    {
        using Map = QMap<QString, QString>;
        QTest::addColumn<Map>("input");
        QTest::addColumn<Map>("expected");
        QTest::newRow("claude-code alone moves")
            << Map{{u"claude-code"_s, u"a"_s}} << Map{{u"terminal"_s, u"a"_s}};
        QTest::newRow("terminal's own wins")
            << Map{{u"claude-code"_s, u"a"_s}, {u"terminal"_s, u"b"_s}} << Map{{u"terminal"_s, u"b"_s}};
        QTest::newRow("others stay") << Map{{u"zed"_s, u"z"_s}, {u"quantum"_s, u"q"_s}}
                                     << Map{{u"zed"_s, u"z"_s}, {u"quantum"_s, u"q"_s}};
    }
    void lastSelectionsMoveFromClaudeCodeToTerminal()
    {
        using Map = QMap<QString, QString>;
        QFETCH(Map, input);
        QFETCH(Map, expected);
        QCOMPARE(normalizedLastSelectedWorkspaceIDs(input), expected);
    }
};

QTEST_GUILESS_MAIN(TestContextBinding)
#include "tst_contextbinding.moc"
