#include "AgentType.h"
#include "RawValues.h"

#include "CharacterClasses.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <initializer_list>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Names = std::vector<QStringView>;

bool isOneOf(QStringView value, std::initializer_list<QStringView> names)
{
    return std::find(names.begin(), names.end(), value) != names.end();
}

bool isOneOf(QStringView value, const Names& names)
{
    return std::find(names.begin(), names.end(), value) != names.end();
}

bool containsAnyOf(QStringView value, std::initializer_list<QStringView> names)
{
    return std::any_of(names.begin(), names.end(),
                       [value](QStringView name) { return value.contains(name); });
}

struct BrowserNames {
    AgentType browser;
    Names names;
};

const BrowserNames browsersByBundleIdentifier[] = {
    {AgentType::chrome,
     {u"com.google.chrome", u"com.google.chrome.beta", u"com.google.chrome.dev",
      u"com.google.chrome.canary"}},
    {AgentType::arc, {u"company.thebrowser.browser"}},
    {AgentType::safari, {u"com.apple.safari", u"com.apple.safaritechnologypreview"}},
    {AgentType::edge,
     {u"com.microsoft.edgemac", u"com.microsoft.edgemac.beta", u"com.microsoft.edgemac.dev",
      u"com.microsoft.edgemac.canary"}},
    {AgentType::firefox,
     {u"org.mozilla.firefox", u"org.mozilla.firefoxdeveloperedition", u"org.mozilla.nightly"}},
    {AgentType::brave,
     {u"com.brave.browser", u"com.brave.browser.beta", u"com.brave.browser.dev",
      u"com.brave.browser.nightly"}},
};

const BrowserNames browsersByName[] = {
    {AgentType::chrome,
     {u"google chrome", u"google chrome beta", u"google chrome dev", u"google chrome canary", u"chrome"}},
    {AgentType::arc, {u"arc", u"arc early birds"}},
    {AgentType::safari, {u"safari", u"safari浏览器", u"safari technology preview"}},
    {AgentType::edge,
     {u"microsoft edge", u"microsoft edge beta", u"microsoft edge dev", u"microsoft edge canary", u"edge"}},
    {AgentType::firefox, {u"firefox", u"firefox developer edition", u"firefox nightly"}},
    {AgentType::brave,
     {u"brave browser", u"brave browser beta", u"brave browser dev", u"brave browser nightly", u"brave"}},
};

// Linux desktop-entry ids and WM_CLASS classes, lower-cased. Consulted only after all the rules
// below, so every answer those give stays as it is.
struct LinuxIdentities {
    AgentType agent;
    Names exact;
    Names prefixes;
};

const LinuxIdentities linuxIdentities[] = {
    {AgentType::vscode,
     {u"code", u"code-oss", u"code - oss", u"code-insiders", u"codium", u"vscodium", u"com.visualstudio.code",
      u"com.visualstudio.code.oss", u"com.vscodium.codium"},
     {}},
    {AgentType::cursor, {u"cursor"}, {}},
    {AgentType::zed, {u"zed", u"dev.zed.zed-preview"}, {}},
    {AgentType::ghostty, {u"ghostty"}, {}},
    {AgentType::jetbrains, {}, {u"jetbrains-", u"com.jetbrains."}},
    {AgentType::windsurf, {u"windsurf"}, {}},
    {AgentType::chrome,
     {u"google-chrome", u"google-chrome-beta", u"google-chrome-unstable", u"chromium", u"chromium-browser",
      u"org.chromium.chromium"},
     {}},
    {AgentType::firefox,
     {u"firefox", u"firefox-esr", u"firefox-developer-edition", u"firefoxdeveloperedition",
      u"firefox-nightly"},
     {}},
    {AgentType::brave,
     {u"brave-browser", u"brave-browser-beta", u"brave-browser-dev", u"brave-browser-nightly"},
     {}},
    {AgentType::edge,
     {u"microsoft-edge", u"microsoft-edge-beta", u"microsoft-edge-dev", u"com.microsoft.edge"},
     {}},
    {AgentType::terminal,
     {u"org.gnome.terminal",
      u"gnome-terminal",
      u"gnome-terminal-server",
      u"org.gnome.console",
      u"kgx",
      u"org.gnome.ptyxis",
      u"org.kde.konsole",
      u"konsole",
      u"kitty",
      u"alacritty",
      u"org.alacritty.alacritty",
      u"org.wezfurlong.wezterm",
      u"wezterm",
      u"xterm",
      u"uxterm",
      u"debian-xterm",
      u"debian-uxterm",
      u"foot",
      u"footclient",
      u"org.codeberg.dnkl.foot",
      u"com.gexperts.tilix",
      u"tilix",
      u"terminator",
      u"xfce4-terminal"},
     {}},
};

std::optional<AgentType> browserFor(QStringView value, const BrowserNames (&table)[6])
{
    for (const BrowserNames& row : table) {
        if (isOneOf(value, row.names))
            return row.browser;
    }
    return std::nullopt;
}

std::optional<AgentType> linuxIdentityFor(QStringView bundle)
{
    for (const LinuxIdentities& row : linuxIdentities) {
        if (isOneOf(bundle, row.exact))
            return row.agent;
        for (QStringView prefix : row.prefixes) {
            if (bundle.startsWith(prefix))
                return row.agent;
        }
    }
    return std::nullopt;
}

// The identifier itself, or the identifier, a dot and more: "com.microsoft.vscodex" is no match.
bool equalsOrHasPrefix(QStringView value, QStringView identifier)
{
    if (!value.startsWith(identifier))
        return false;
    return value.size() == identifier.size() || value.at(identifier.size()) == u'.';
}

std::optional<AgentType> inferByBundleIdentifier(const QString& bundle)
{
    if (const auto browser = browserFor(bundle, browsersByBundleIdentifier))
        return browser;
    if (equalsOrHasPrefix(bundle, u"com.microsoft.vscode"))
        return AgentType::vscode;
    if (bundle == u"com.google.antigravity")
        return AgentType::antigravity;
    if (bundle == u"com.google.antigravity-ide")
        return AgentType::antigravityIDE;
    if (isOneOf(bundle, {u"com.cursorlabs.cursor", u"com.todesktop.230313mzl4w4u92"}))
        return AgentType::cursor;
    if (equalsOrHasPrefix(bundle, u"com.mitchellh.ghostty"))
        return AgentType::ghostty;
    if (isOneOf(bundle, {u"com.apple.terminal", u"com.googlecode.iterm2", u"dev.warp.warp"}))
        return AgentType::terminal;
    if (equalsOrHasPrefix(bundle, u"com.openai.codex"))
        return AgentType::codex;
    if (bundle == u"com.anthropic.claudefordesktop")
        return AgentType::claudeDesktop;
    if (bundle == u"com.nousresearch.hermes")
        return AgentType::hermes;
    if (bundle == u"com.exafunction.windsurf")
        return AgentType::windsurf;
    if (bundle == u"com.moonshot.kimichat")
        return AgentType::kimi;
    if (isOneOf(bundle, {u"ai.opencode.desktop", u"ai.opencode.desktop.beta", u"ai.opencode.desktop.dev"}))
        return AgentType::openCode;
    if (bundle == u"dev.zcode.app")
        return AgentType::zcode;
    if (bundle == u"dev.zed.zed")
        return AgentType::zed;
    if (isOneOf(bundle, {u"com.jetbrains.intellij", u"com.jetbrains.pycharm", u"com.jetbrains.webstorm",
                         u"com.jetbrains.goland", u"com.jetbrains.clion", u"com.jetbrains.phpstorm",
                         u"com.jetbrains.rubymine", u"com.jetbrains.datagrip", u"com.jetbrains.rider"}))
        return AgentType::jetbrains;
    return std::nullopt;
}

std::optional<AgentType> inferByName(const QString& name)
{
    if (name == u"antigravity")
        return AgentType::antigravity;
    if (name == u"antigravity ide")
        return AgentType::antigravityIDE;
    if (isOneOf(name, {u"chatgpt", u"codex"}))
        return AgentType::codex;
    // The command-line agent runs inside a terminal; the classifier never answers claudeCode.
    if (name == u"claude code")
        return AgentType::terminal;
    if (isOneOf(name, {u"claude", u"claude desktop"}))
        return AgentType::claudeDesktop;
    if (name == u"cursor")
        return AgentType::cursor;
    if (isOneOf(name, {u"visual studio code", u"code", u"vscode"}))
        return AgentType::vscode;
    if (name == u"ghostty")
        return AgentType::ghostty;
    if (isTerminalApplicationName(name))
        return AgentType::terminal;
    if (name == u"hermes")
        return AgentType::hermes;
    if (isOneOf(name, {u"windsurf", u"devin", u"devin desktop"}))
        return AgentType::windsurf;
    if (isOneOf(name, {u"trae", u"trae ide"}))
        return AgentType::trae;
    if (name == u"zed")
        return AgentType::zed;
    if (isOneOf(name, {u"intellij idea", u"pycharm", u"webstorm", u"goland", u"clion", u"phpstorm",
                       u"rubymine", u"datagrip", u"rider"}))
        return AgentType::jetbrains;
    if (name == u"kiro")
        return AgentType::kiro;
    if (isOneOf(name, {u"kimi", u"kimi desktop"}))
        return AgentType::kimi;
    if (isOneOf(name, {u"opencode", u"open code", u"opencode beta", u"opencode dev"}))
        return AgentType::openCode;
    if (name == u"zcode")
        return AgentType::zcode;
    return std::nullopt;
}

} // namespace

const std::array<AgentType, 25> allAgentTypes = {
    AgentType::antigravity, AgentType::antigravityIDE, AgentType::codex,    AgentType::claudeDesktop,
    AgentType::claudeCode,  AgentType::cursor,         AgentType::vscode,   AgentType::ghostty,
    AgentType::terminal,    AgentType::hermes,         AgentType::windsurf, AgentType::trae,
    AgentType::zed,         AgentType::jetbrains,      AgentType::kiro,     AgentType::kimi,
    AgentType::openCode,    AgentType::zcode,          AgentType::chrome,   AgentType::arc,
    AgentType::safari,      AgentType::edge,           AgentType::firefox,  AgentType::brave,
    AgentType::unknown,
};

QString toRawValue(AgentType agent)
{
    switch (agent) {
    case AgentType::antigravity:
        return u"antigravity"_s;
    case AgentType::antigravityIDE:
        return u"antigravity-ide"_s;
    case AgentType::codex:
        return u"codex"_s;
    case AgentType::claudeDesktop:
        return u"claude-desktop"_s;
    case AgentType::claudeCode:
        return u"claude-code"_s;
    case AgentType::cursor:
        return u"cursor"_s;
    case AgentType::vscode:
        return u"vscode"_s;
    case AgentType::ghostty:
        return u"ghostty"_s;
    case AgentType::terminal:
        return u"terminal"_s;
    case AgentType::hermes:
        return u"hermes"_s;
    case AgentType::windsurf:
        return u"windsurf"_s;
    case AgentType::trae:
        return u"trae"_s;
    case AgentType::zed:
        return u"zed"_s;
    case AgentType::jetbrains:
        return u"jetbrains"_s;
    case AgentType::kiro:
        return u"kiro"_s;
    case AgentType::kimi:
        return u"kimi"_s;
    case AgentType::openCode:
        return u"opencode"_s;
    case AgentType::zcode:
        return u"zcode"_s;
    case AgentType::chrome:
        return u"chrome"_s;
    case AgentType::arc:
        return u"arc"_s;
    case AgentType::safari:
        return u"safari"_s;
    case AgentType::edge:
        return u"edge"_s;
    case AgentType::firefox:
        return u"firefox"_s;
    case AgentType::brave:
        return u"brave"_s;
    case AgentType::unknown:
        return u"unknown"_s;
    }
    return u"unknown"_s;
}

std::optional<AgentType> agentTypeFromRawValue(const QString& raw)
{
    return enumFromRawValue<AgentType>(allAgentTypes, raw);
}

QString displayName(AgentType agent, AppLanguage /*language*/)
{
    switch (agent) {
    case AgentType::antigravity:
        return u"Antigravity"_s;
    case AgentType::antigravityIDE:
        return u"Antigravity IDE"_s;
    case AgentType::codex:
        return u"ChatGPT"_s;
    case AgentType::claudeDesktop:
        return u"Claude Desktop"_s;
    case AgentType::claudeCode:
        return u"Claude Code"_s;
    case AgentType::cursor:
        return u"Cursor"_s;
    case AgentType::vscode:
        return u"VS Code"_s;
    case AgentType::ghostty:
        return u"Ghostty"_s;
    case AgentType::terminal:
        return u"Terminal"_s;
    case AgentType::hermes:
        return u"Hermes"_s;
    case AgentType::windsurf:
        return u"Devin / Windsurf"_s;
    case AgentType::trae:
        return u"Trae"_s;
    case AgentType::zed:
        return u"Zed"_s;
    case AgentType::jetbrains:
        return u"JetBrains"_s;
    case AgentType::kiro:
        return u"Kiro"_s;
    case AgentType::kimi:
        return u"Kimi"_s;
    case AgentType::openCode:
        return u"OpenCode"_s;
    case AgentType::zcode:
        return u"ZCode"_s;
    case AgentType::chrome:
        return u"Chrome"_s;
    case AgentType::arc:
        return u"Arc"_s;
    case AgentType::safari:
        return u"Safari"_s;
    case AgentType::edge:
        return u"Microsoft Edge"_s;
    case AgentType::firefox:
        return u"Firefox"_s;
    case AgentType::brave:
        return u"Brave"_s;
    case AgentType::unknown:
        return u"Unknown"_s;
    }
    return u"Unknown"_s;
}

QString defaultAppName(AgentType agent)
{
    switch (agent) {
    case AgentType::codex:
        return u"ChatGPT"_s;
    case AgentType::claudeDesktop:
        return u"Claude"_s;
    case AgentType::claudeCode:
        return u"Terminal"_s;
    case AgentType::vscode:
        return u"Visual Studio Code"_s;
    case AgentType::windsurf:
        return u"Devin"_s;
    case AgentType::jetbrains:
        return u"IntelliJ IDEA"_s;
    case AgentType::chrome:
        return u"Google Chrome"_s;
    case AgentType::brave:
        return u"Brave Browser"_s;
    default:
        // Every other agent's application is called what the agent is called.
        return displayName(agent, AppLanguage::english);
    }
}

std::optional<QString> defaultBundleIdentifier(AgentType agent)
{
    switch (agent) {
    case AgentType::antigravity:
        return u"com.google.antigravity"_s;
    case AgentType::antigravityIDE:
        return u"com.google.antigravity-ide"_s;
    case AgentType::codex:
        return u"com.openai.codex"_s;
    case AgentType::claudeDesktop:
        return u"com.anthropic.claudefordesktop"_s;
    case AgentType::vscode:
        return u"com.microsoft.VSCode"_s;
    case AgentType::terminal:
        return u"com.apple.Terminal"_s;
    case AgentType::hermes:
        return u"com.nousresearch.hermes"_s;
    case AgentType::windsurf:
        return u"com.exafunction.windsurf"_s;
    case AgentType::zed:
        return u"dev.zed.Zed"_s;
    case AgentType::jetbrains:
        return u"com.jetbrains.intellij"_s;
    case AgentType::kimi:
        return u"com.moonshot.kimichat"_s;
    case AgentType::openCode:
        return u"ai.opencode.desktop"_s;
    case AgentType::zcode:
        return u"dev.zcode.app"_s;
    case AgentType::chrome:
        return u"com.google.Chrome"_s;
    case AgentType::arc:
        return u"company.thebrowser.Browser"_s;
    case AgentType::safari:
        return u"com.apple.Safari"_s;
    case AgentType::edge:
        return u"com.microsoft.edgemac"_s;
    case AgentType::firefox:
        return u"org.mozilla.firefox"_s;
    case AgentType::brave:
        return u"com.brave.Browser"_s;
    case AgentType::claudeCode:
    case AgentType::cursor:
    case AgentType::ghostty:
    case AgentType::trae:
    case AgentType::kiro:
    case AgentType::unknown:
        return std::nullopt;
    }
    return std::nullopt;
}

bool isBrowser(AgentType agent)
{
    switch (agent) {
    case AgentType::chrome:
    case AgentType::arc:
    case AgentType::safari:
    case AgentType::edge:
    case AgentType::firefox:
    case AgentType::brave:
        return true;
    default:
        return false;
    }
}

QList<AgentType> sortedByDisplayName(QList<AgentType> agents)
{
    QCollator collator{QLocale()};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(agents.begin(), agents.end(), [&collator](AgentType left, AgentType right) {
        return collator.compare(displayName(left, AppLanguage::english),
                                displayName(right, AppLanguage::english)) < 0;
    });
    return agents;
}

QList<AgentType> bindableAgentTypes()
{
    QList<AgentType> agents;
    for (AgentType agent : allAgentTypes) {
        if (agent != AgentType::claudeCode && agent != AgentType::unknown)
            agents.append(agent);
    }
    return sortedByDisplayName(agents);
}

bool isTerminalApplicationName(const QString& appName)
{
    const QString name = appName.toLower();
    if (containsAnyOf(name, {u"terminal", u"iterm", u"iterm2", u"warp", u"ghostty"}))
        return true;
    // Linux terminals. The short, common words are matched whole so that "foot" finds no football game.
    return containsAnyOf(
               name, {u"konsole", u"alacritty", u"wezterm", u"xterm", u"tilix", u"terminator", u"ptyxis"}) ||
           isOneOf(name, {u"kitty", u"foot", u"footclient", u"console"});
}

AgentType inferAgentType(const std::optional<QString>& bundleIdentifier, const QString& appName,
                         const QString& /*windowTitle*/)
{
    const QString bundle =
        CharacterClasses::trimmedWhitespaceAndNewlines(bundleIdentifier.value_or(QString()))
            .toString()
            .toLower();
    const QString name = appName.toLower();
    if (const auto agent = inferByBundleIdentifier(bundle))
        return *agent;
    if (const auto agent = inferByName(name))
        return *agent;
    // A browser is known by name only when the platform gave no bundle identifier at all.
    if (bundle.isEmpty()) {
        if (const auto browser = browserFor(name, browsersByName))
            return *browser;
    }
    if (const auto agent = linuxIdentityFor(bundle))
        return *agent;
    return AgentType::unknown;
}
