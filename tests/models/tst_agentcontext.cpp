// The classifier's rules in their order, the agents' fixed attributes, and the context's derived texts.

#include "AgentContext.h"
#include "AgentType.h"
#include "AppLanguage.h"

#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(AgentType)
Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

std::optional<QString> absent()
{
    return std::nullopt;
}

AgentContext contextWith(const QString& title, const QString& workspaceName,
                         const QString& appName = u"Ghostty"_s)
{
    AgentContext context = AgentContext::unknown();
    context.frontmostAppName = appName;
    context.frontWindowTitle = title;
    context.workspaceName = workspaceName;
    return context;
}

} // namespace

class TestAgentContext : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void infer_data()
    {
        QTest::addColumn<std::optional<QString>>("bundleIdentifier");
        QTest::addColumn<QString>("appName");
        QTest::addColumn<AgentType>("expected");

        const auto row = [](const char* name, std::optional<QString> bundle, const QString& app,
                            AgentType agent) {
            QTest::newRow(name) << bundle << app << agent;
        };

        // Phase 1: by bundle identifier, which beats any name.
        row("1 browser id beats the name", u"com.apple.Safari"_s, u"Cursor"_s, AgentType::safari);
        row("2 vscode", u"com.microsoft.VSCode"_s, u""_s, AgentType::vscode);
        row("2 vscode trimmed, lower-cased, further component", u"  COM.Microsoft.VSCode.Insiders\n"_s,
            u"x"_s, AgentType::vscode);
        row("2 the prefix includes its dot", u"com.microsoft.vscodex"_s, u""_s, AgentType::unknown);
        row("3 antigravity", u"com.google.antigravity"_s, u"Antigravity IDE"_s, AgentType::antigravity);
        row("4 antigravity IDE", u"com.google.antigravity-ide"_s, u"Antigravity"_s,
            AgentType::antigravityIDE);
        row("5 cursor", u"com.cursorlabs.cursor"_s, u""_s, AgentType::cursor);
        row("5 cursor todesktop", u"com.todesktop.230313MZL4W4U92"_s, u""_s, AgentType::cursor);
        row("6 ghostty", u"com.mitchellh.ghostty"_s, u"Terminal"_s, AgentType::ghostty);
        row("6 ghostty prefix", u"com.mitchellh.ghostty.debug"_s, u""_s, AgentType::ghostty);
        row("7 apple terminal", u"com.apple.Terminal"_s, u"Ghostty"_s, AgentType::terminal);
        row("7 iterm2", u"com.googlecode.iterm2"_s, u""_s, AgentType::terminal);
        row("7 warp", u"dev.warp.Warp"_s, u""_s, AgentType::terminal);
        row("8 codex", u"com.openai.codex"_s, u""_s, AgentType::codex);
        row("8 codex prefix", u"com.openai.codex.helper"_s, u""_s, AgentType::codex);
        row("8 codex prefix needs its dot", u"com.openai.codexy"_s, u""_s, AgentType::unknown);
        row("9 claude desktop", u"com.anthropic.claudefordesktop"_s, u"Claude Code"_s,
            AgentType::claudeDesktop);
        row("10 hermes", u"com.nousresearch.hermes"_s, u""_s, AgentType::hermes);
        row("11 windsurf", u"com.exafunction.windsurf"_s, u""_s, AgentType::windsurf);
        row("12 kimi", u"com.moonshot.kimichat"_s, u""_s, AgentType::kimi);
        row("13 opencode", u"ai.opencode.desktop"_s, u""_s, AgentType::openCode);
        row("13 opencode beta", u"ai.opencode.desktop.beta"_s, u""_s, AgentType::openCode);
        row("13 opencode dev", u"ai.opencode.desktop.dev"_s, u""_s, AgentType::openCode);
        row("13 opencode no prefix rule", u"ai.opencode.desktop.nightly"_s, u""_s, AgentType::unknown);
        row("14 zcode", u"dev.zcode.app"_s, u""_s, AgentType::zcode);
        row("15 zed", u"dev.zed.Zed"_s, u"Visual Studio Code"_s, AgentType::zed);
        for (const char* id : {"intellij", "pycharm", "webstorm", "goland", "clion", "phpstorm", "rubymine",
                               "datagrip", "rider"}) {
            QTest::addRow("16 jetbrains %s", id)
                << std::optional<QString>(u"com.jetbrains."_s + QString::fromLatin1(id)) << u""_s
                << AgentType::jetbrains;
        }

        // Phase 2: by name, with no bundle identifier or an unrecognised one. Names are not trimmed.
        const std::optional<QString> unrecognised = u"org.example.thing"_s;
        row("17 antigravity", absent(), u"Antigravity"_s, AgentType::antigravity);
        row("18 antigravity ide", unrecognised, u"Antigravity IDE"_s, AgentType::antigravityIDE);
        row("19 chatgpt", absent(), u"ChatGPT"_s, AgentType::codex);
        row("19 codex", unrecognised, u"Codex"_s, AgentType::codex);
        row("20 claude code is a terminal", absent(), u"Claude Code"_s, AgentType::terminal);
        row("21 claude", absent(), u"Claude"_s, AgentType::claudeDesktop);
        row("21 claude desktop", unrecognised, u"Claude Desktop"_s, AgentType::claudeDesktop);
        row("22 cursor", absent(), u"Cursor"_s, AgentType::cursor);
        row("22 trailing blank matches nothing", absent(), u"Cursor "_s, AgentType::unknown);
        row("23 visual studio code", absent(), u"Visual Studio Code"_s, AgentType::vscode);
        row("23 code", unrecognised, u"Code"_s, AgentType::vscode);
        row("23 vscode", absent(), u"VSCode"_s, AgentType::vscode);
        row("24 ghostty", absent(), u"Ghostty"_s, AgentType::ghostty);
        row("25 iterm2 by name", absent(), u"iTerm2"_s, AgentType::terminal);
        row("25 contains terminal", unrecognised, u"Fancy Terminal Pro"_s, AgentType::terminal);
        row("25 contains warp", absent(), u"Warpdrive"_s, AgentType::terminal);
        row("25 contains ghostty", absent(), u"Ghostty Nightly"_s, AgentType::terminal);
        row("26 hermes", absent(), u"Hermes"_s, AgentType::hermes);
        row("27 windsurf", absent(), u"Windsurf"_s, AgentType::windsurf);
        row("27 devin", absent(), u"Devin"_s, AgentType::windsurf);
        row("27 devin desktop", unrecognised, u"Devin Desktop"_s, AgentType::windsurf);
        row("28 trae", absent(), u"Trae"_s, AgentType::trae);
        row("28 trae ide", absent(), u"Trae IDE"_s, AgentType::trae);
        row("29 zed", absent(), u"Zed"_s, AgentType::zed);
        for (const char* name : {"IntelliJ IDEA", "PyCharm", "WebStorm", "GoLand", "CLion", "PhpStorm",
                                 "RubyMine", "DataGrip", "Rider"}) {
            QTest::addRow("30 jetbrains %s", name)
                << absent() << QString::fromLatin1(name) << AgentType::jetbrains;
        }
        row("30 edition names are no exact match", absent(), u"PyCharm CE"_s, AgentType::unknown);
        row("31 kiro", absent(), u"Kiro"_s, AgentType::kiro);
        row("32 kimi", absent(), u"Kimi"_s, AgentType::kimi);
        row("32 kimi desktop", absent(), u"Kimi Desktop"_s, AgentType::kimi);
        row("33 opencode", absent(), u"OpenCode"_s, AgentType::openCode);
        row("33 open code", absent(), u"Open Code"_s, AgentType::openCode);
        row("33 opencode beta", absent(), u"OpenCode Beta"_s, AgentType::openCode);
        row("33 opencode dev", absent(), u"OpenCode Dev"_s, AgentType::openCode);
        row("34 zcode", absent(), u"ZCode"_s, AgentType::zcode);
        row("35 a blank id counts as none", u" \t\n"_s, u"Google Chrome"_s, AgentType::chrome);
        row("36 unknown", absent(), u"Notes"_s, AgentType::unknown);
        row("36 nothing at all", absent(), u""_s, AgentType::unknown);

        // Linux identities come after every rule above, so they never change those answers.
        row("linux code id", u"code"_s, u"Code - OSS"_s, AgentType::vscode);
        row("linux flatpak code id", u"com.visualstudio.code"_s, u"Visual Studio Code (Flatpak)"_s,
            AgentType::vscode);
        row("linux codium", u"codium"_s, u"VSCodium"_s, AgentType::vscode);
        row("linux name rule wins over the linux id", u"code"_s, u"Cursor"_s, AgentType::cursor);
        row("linux cursor id", u"cursor"_s, u"Cursor AppImage"_s, AgentType::cursor);
        row("linux zed id", u"dev.zed.Zed"_s, u"Zed Editor"_s, AgentType::zed);
        row("linux ghostty id", u"com.mitchellh.ghostty"_s, u"Ghostty"_s, AgentType::ghostty);
        row("linux toolbox jetbrains", u"jetbrains-pycharm-ce"_s, u"PyCharm Community Edition"_s,
            AgentType::jetbrains);
        row("linux flatpak jetbrains", u"com.jetbrains.IntelliJ-IDEA-Community"_s, u"IntelliJ IDEA CE"_s,
            AgentType::jetbrains);
        row("linux google-chrome", u"google-chrome"_s, u"Google Chrome (stable)"_s, AgentType::chrome);
        row("linux WM_CLASS class Google-chrome", u"Google-chrome"_s, u"Google-chrome"_s, AgentType::chrome);
        row("linux firefox", u"firefox"_s, u"Firefox Web Browser"_s, AgentType::firefox);
        row("linux firefox-esr", u"firefox-esr"_s, u"Firefox ESR"_s, AgentType::firefox);
        row("linux flatpak firefox", u"org.mozilla.firefox"_s, u"Firefox Web Browser"_s, AgentType::firefox);
        row("linux brave", u"brave-browser"_s, u"Brave Web Browser"_s, AgentType::brave);
        row("linux edge", u"microsoft-edge"_s, u"Microsoft Edge (stable)"_s, AgentType::edge);
        row("linux gnome terminal id", u"org.gnome.Terminal"_s, u"Terminal"_s, AgentType::terminal);
        row("linux gnome console id", u"org.gnome.Console"_s, u"Console"_s, AgentType::terminal);
        row("linux konsole name", u"org.kde.konsole"_s, u"Konsole"_s, AgentType::terminal);
        row("linux kitty name", absent(), u"kitty"_s, AgentType::terminal);
        row("linux alacritty name", absent(), u"Alacritty"_s, AgentType::terminal);
        row("linux wezterm name", absent(), u"WezTerm"_s, AgentType::terminal);
        row("linux xterm class", u"XTerm"_s, u"XTerm"_s, AgentType::terminal);
        row("linux foot name", absent(), u"Foot"_s, AgentType::terminal);
        row("linux tilix name", absent(), u"Tilix"_s, AgentType::terminal);
        row("linux terminator name", absent(), u"Terminator"_s, AgentType::terminal);
        row("linux xfce terminal name", absent(), u"Xfce Terminal"_s, AgentType::terminal);
        row("linux short names match whole", absent(), u"Football Manager"_s, AgentType::unknown);
    }

    void infer()
    {
        QFETCH(std::optional<QString>, bundleIdentifier);
        QFETCH(QString, appName);
        QFETCH(AgentType, expected);
        QCOMPARE(inferAgentType(bundleIdentifier, appName, QString()), expected);
        // The title is accepted but never consulted.
        QCOMPARE(inferAgentType(bundleIdentifier, appName, u"Claude Code — ~/src/Cursor | Safari"_s),
                 expected);
    }

    void browserTablesByBundleIdentifierAndName_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("isBundleIdentifier");
        QTest::addColumn<AgentType>("expected");
        const QList<std::pair<AgentType, QStringList>> byBundle = {
            {AgentType::chrome,
             {u"com.google.Chrome"_s, u"com.google.Chrome.beta"_s, u"com.google.Chrome.dev"_s,
              u"com.google.Chrome.canary"_s}},
            {AgentType::arc, {u"company.thebrowser.Browser"_s}},
            {AgentType::safari, {u"com.apple.Safari"_s, u"com.apple.SafariTechnologyPreview"_s}},
            {AgentType::edge,
             {u"com.microsoft.edgemac"_s, u"com.microsoft.edgemac.Beta"_s, u"com.microsoft.edgemac.Dev"_s,
              u"com.microsoft.edgemac.Canary"_s}},
            {AgentType::firefox,
             {u"org.mozilla.firefox"_s, u"org.mozilla.firefoxdeveloperedition"_s, u"org.mozilla.nightly"_s}},
            {AgentType::brave,
             {u"com.brave.Browser"_s, u"com.brave.Browser.beta"_s, u"com.brave.Browser.dev"_s,
              u"com.brave.Browser.nightly"_s}},
        };
        const QList<std::pair<AgentType, QStringList>> byName = {
            {AgentType::chrome,
             {u"Google Chrome"_s, u"Google Chrome Beta"_s, u"Google Chrome Dev"_s, u"Google Chrome Canary"_s,
              u"Chrome"_s}},
            {AgentType::arc, {u"Arc"_s, u"Arc Early Birds"_s}},
            {AgentType::safari, {u"Safari"_s, u"Safari浏览器"_s, u"Safari Technology Preview"_s}},
            {AgentType::edge,
             {u"Microsoft Edge"_s, u"Microsoft Edge Beta"_s, u"Microsoft Edge Dev"_s,
              u"Microsoft Edge Canary"_s, u"Edge"_s}},
            {AgentType::firefox, {u"Firefox"_s, u"Firefox Developer Edition"_s, u"Firefox Nightly"_s}},
            {AgentType::brave,
             {u"Brave Browser"_s, u"Brave Browser Beta"_s, u"Brave Browser Dev"_s, u"Brave Browser Nightly"_s,
              u"Brave"_s}},
        };
        for (const auto& [browser, ids] : byBundle) {
            for (const QString& id : ids)
                QTest::addRow("id %s", qPrintable(id)) << id << true << browser;
        }
        for (const auto& [browser, names] : byName) {
            for (const QString& name : names)
                QTest::addRow("name %s", qPrintable(name)) << name << false << browser;
        }
    }

    void browserTablesByBundleIdentifierAndName()
    {
        QFETCH(QString, value);
        QFETCH(bool, isBundleIdentifier);
        QFETCH(AgentType, expected);
        if (isBundleIdentifier) {
            QCOMPARE(inferAgentType(value, u"Some Name"_s), expected);
        } else {
            QCOMPARE(inferAgentType(std::nullopt, value), expected);
            QCOMPARE(inferAgentType(u""_s, value), expected);
            // Behind an identifier that names nothing, the name is no browser.
            QCOMPARE(inferAgentType(u"org.example.other"_s, value), AgentType::unknown);
        }
        QVERIFY(isBrowser(expected));
    }

    void classifierNeverAnswersClaudeCode()
    {
        for (AgentType agent : allAgentTypes) {
            QVERIFY(inferAgentType(defaultBundleIdentifier(agent), defaultAppName(agent)) !=
                    AgentType::claudeCode);
            QVERIFY(inferAgentType(std::nullopt, displayName(agent, AppLanguage::english)) !=
                    AgentType::claudeCode);
        }
    }

    void terminalTest_data()
    {
        QTest::addColumn<QString>("appName");
        QTest::addColumn<bool>("isTerminal");
        QTest::newRow("terminal") << u"Terminal"_s << true;
        QTest::newRow("iterm") << u"iTerm"_s << true;
        QTest::newRow("warp inside a word") << u"Warpinator"_s << true;
        QTest::newRow("ghostty") << u"GHOSTTY"_s << true;
        QTest::newRow("gnome terminal") << u"GNOME Terminal"_s << true;
        QTest::newRow("konsole") << u"Konsole"_s << true;
        QTest::newRow("kitty whole") << u"kitty"_s << true;
        QTest::newRow("kitty inside a word") << u"Hello Kitty Island"_s << false;
        QTest::newRow("uxterm") << u"UXTerm"_s << true;
        QTest::newRow("foot") << u"foot"_s << true;
        QTest::newRow("editor") << u"Visual Studio Code"_s << false;
        QTest::newRow("empty") << u""_s << false;
    }

    void terminalTest()
    {
        QFETCH(QString, appName);
        QFETCH(bool, isTerminal);
        QCOMPARE(isTerminalApplicationName(appName), isTerminal);
    }

    void agentAttributes_data()
    {
        QTest::addColumn<AgentType>("agent");
        QTest::addColumn<QString>("displayName");
        QTest::addColumn<QString>("defaultAppName");
        QTest::addColumn<std::optional<QString>>("defaultBundleIdentifier");
        const auto row = [](AgentType agent, const QString& shown, const QString& app,
                            std::optional<QString> id) {
            QTest::newRow(qPrintable(toRawValue(agent))) << agent << shown << app << id;
        };
        row(AgentType::antigravity, u"Antigravity"_s, u"Antigravity"_s, u"com.google.antigravity"_s);
        row(AgentType::antigravityIDE, u"Antigravity IDE"_s, u"Antigravity IDE"_s,
            u"com.google.antigravity-ide"_s);
        row(AgentType::codex, u"ChatGPT"_s, u"ChatGPT"_s, u"com.openai.codex"_s);
        row(AgentType::claudeDesktop, u"Claude Desktop"_s, u"Claude"_s, u"com.anthropic.claudefordesktop"_s);
        row(AgentType::claudeCode, u"Claude Code"_s, u"Terminal"_s, absent());
        row(AgentType::cursor, u"Cursor"_s, u"Cursor"_s, absent());
        row(AgentType::vscode, u"VS Code"_s, u"Visual Studio Code"_s, u"com.microsoft.VSCode"_s);
        row(AgentType::ghostty, u"Ghostty"_s, u"Ghostty"_s, absent());
        row(AgentType::terminal, u"Terminal"_s, u"Terminal"_s, u"com.apple.Terminal"_s);
        row(AgentType::hermes, u"Hermes"_s, u"Hermes"_s, u"com.nousresearch.hermes"_s);
        row(AgentType::windsurf, u"Devin / Windsurf"_s, u"Devin"_s, u"com.exafunction.windsurf"_s);
        row(AgentType::trae, u"Trae"_s, u"Trae"_s, absent());
        row(AgentType::zed, u"Zed"_s, u"Zed"_s, u"dev.zed.Zed"_s);
        row(AgentType::jetbrains, u"JetBrains"_s, u"IntelliJ IDEA"_s, u"com.jetbrains.intellij"_s);
        row(AgentType::kiro, u"Kiro"_s, u"Kiro"_s, absent());
        row(AgentType::kimi, u"Kimi"_s, u"Kimi"_s, u"com.moonshot.kimichat"_s);
        row(AgentType::openCode, u"OpenCode"_s, u"OpenCode"_s, u"ai.opencode.desktop"_s);
        row(AgentType::zcode, u"ZCode"_s, u"ZCode"_s, u"dev.zcode.app"_s);
        row(AgentType::chrome, u"Chrome"_s, u"Google Chrome"_s, u"com.google.Chrome"_s);
        row(AgentType::arc, u"Arc"_s, u"Arc"_s, u"company.thebrowser.Browser"_s);
        row(AgentType::safari, u"Safari"_s, u"Safari"_s, u"com.apple.Safari"_s);
        row(AgentType::edge, u"Microsoft Edge"_s, u"Microsoft Edge"_s, u"com.microsoft.edgemac"_s);
        row(AgentType::firefox, u"Firefox"_s, u"Firefox"_s, u"org.mozilla.firefox"_s);
        row(AgentType::brave, u"Brave"_s, u"Brave Browser"_s, u"com.brave.Browser"_s);
        row(AgentType::unknown, u"Unknown"_s, u"Unknown"_s, absent());
    }

    void agentAttributes()
    {
        QFETCH(AgentType, agent);
        QFETCH(QString, displayName);
        QFETCH(QString, defaultAppName);
        QFETCH(std::optional<QString>, defaultBundleIdentifier);
        for (AppLanguage language : allAppLanguages)
            QCOMPARE(::displayName(agent, language), displayName);
        QCOMPARE(::defaultAppName(agent), defaultAppName);
        QCOMPARE(::defaultBundleIdentifier(agent), defaultBundleIdentifier);
        // A binding made for the agent alone is recognised as that agent again.
        if (defaultBundleIdentifier && agent != AgentType::claudeCode)
            QCOMPARE(inferAgentType(defaultBundleIdentifier, defaultAppName), agent);
    }

    void browsersAreExactlySix()
    {
        QSet<AgentType> browsers;
        for (AgentType agent : allAgentTypes) {
            if (isBrowser(agent))
                browsers.insert(agent);
        }
        QCOMPARE(browsers, (QSet<AgentType>{AgentType::chrome, AgentType::arc, AgentType::safari,
                                            AgentType::edge, AgentType::firefox, AgentType::brave}));
    }

    void bindableAgentsAreSortedByDisplayName()
    {
        const QList<AgentType> expected = {
            AgentType::antigravity, AgentType::antigravityIDE, AgentType::arc,           AgentType::brave,
            AgentType::codex,       AgentType::chrome,         AgentType::claudeDesktop, AgentType::cursor,
            AgentType::windsurf,    AgentType::firefox,        AgentType::ghostty,       AgentType::hermes,
            AgentType::jetbrains,   AgentType::kimi,           AgentType::kiro,          AgentType::edge,
            AgentType::openCode,    AgentType::safari,         AgentType::terminal,      AgentType::trae,
            AgentType::vscode,      AgentType::zcode,          AgentType::zed,
        };
        QCOMPARE(bindableAgentTypes(), expected);
    }

    void detectionSourcesByRawValue()
    {
        const QStringList raw = {u"manualBinding"_s, u"projectConfig"_s, u"terminalDirectory"_s,
                                 u"ideWorkspace"_s,  u"environment"_s,   u"windowTitle"_s,
                                 u"unknown"_s};
        QCOMPARE(qsizetype(allContextDetectionSources.size()), raw.size());
        for (qsizetype index = 0; index < raw.size(); ++index) {
            const ContextDetectionSource source = allContextDetectionSources.at(size_t(index));
            QCOMPARE(toRawValue(source), raw.at(index));
            QCOMPARE(contextDetectionSourceFromRawValue(raw.at(index)), source);
            for (AppLanguage language : {AppLanguage::english, AppLanguage::zhHans}) {
                const QString shown = displayName(source, language);
                QVERIFY2(!shown.isEmpty() && !shown.startsWith(u"source."), qPrintable(shown));
            }
        }
        QCOMPARE(contextDetectionSourceFromRawValue(u"Environment"_s), std::nullopt);
        QCOMPARE(displayName(ContextDetectionSource::unknown, AppLanguage::english),
                 L10n::text(u"source.unknown"_s, AppLanguage::english));
    }

    void unknownContext()
    {
        QCOMPARE(AgentContext::unknown(),
                 (AgentContext{u"Unknown"_s, std::nullopt, QString(), AgentType::unknown, std::nullopt,
                               u"未识别工作区"_s, ContextDetectionSource::unknown}));
    }

    void browserWebAIName_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("expected");
        QTest::newRow("empty") << u""_s << absent();
        QTest::newRow("chatgpt") << u"ChatGPT - Google Chrome"_s << std::optional(u"ChatGPT"_s);
        QTest::newRow("order decides, not position") << u"Claude vs chatgpt"_s << std::optional(u"ChatGPT"_s);
        QTest::newRow("claude") << u"CLAUDE.ai — Arc"_s << std::optional(u"Claude"_s);
        QTest::newRow("gemini") << u"Google Gemini"_s << std::optional(u"Gemini"_s);
        QTest::newRow("perplexity") << u"perplexity.ai"_s << std::optional(u"Perplexity"_s);
        QTest::newRow("none") << u"GitHub - Safari"_s << absent();
    }

    void browserWebAIName()
    {
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, expected);
        AgentContext context = AgentContext::unknown();
        context.frontWindowTitle = title;
        // Independent of the agent: the views ask only for browsers.
        context.agent = AgentType::cursor;
        QCOMPARE(context.browserWebAIName(), expected);
    }

    void sanitizedTitleNeverShowsTheTitle()
    {
        const AppLanguage english = AppLanguage::english;
        QCOMPARE(contextWith(u" \t\n\u3000"_s, u"web"_s).sanitizedWindowTitle(english),
                 L10n::text(u"context.window.unread"_s, english));

        const QString secret = u"secret-project.txt — ~/private/web"_s;
        const QString withWorkspace = contextWith(secret, u"web"_s).sanitizedWindowTitle(english);
        QCOMPARE(withWorkspace, L10n::text(u"context.window.hidden.workspace"_s, english).arg(u"web"_s));
        QVERIFY(!withWorkspace.contains(u"secret"));

        const QString withApp = contextWith(secret, unidentifiedWorkspaceName).sanitizedWindowTitle(english);
        QCOMPARE(withApp, L10n::text(u"context.window.hidden.app"_s, english).arg(u"Ghostty"_s));
        QVERIFY(!withApp.contains(u"secret"));
        QVERIFY(withApp != withWorkspace);
        QVERIFY(contextWith(secret, u"web"_s).sanitizedWindowTitle(AppLanguage::zhHans) != withWorkspace);
    }
};

QTEST_GUILESS_MAIN(TestAgentContext)
#include "tst_agentcontext.moc"
