// A copy on a real X server: under a private Xvfb, the text a copy puts on the clipboard is what
// another client (xclip) reads back, byte for byte, while this process serves the selection.
#include "XvfbServer.h"

#include "ClipboardService.h"
#include "PromptActionService.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestX11Clipboard : public QObject {
    Q_OBJECT

public:
    TestX11Clipboard(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    // What xclip reads from the clipboard, with this process's event loop running to answer it.
    QByteArray readClipboard(const QString& target)
    {
        QProcess xclip;
        xclip.setProcessEnvironment(m_server.environment());
        QSignalSpy finished(&xclip, &QProcess::finished);
        xclip.start(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, target});
        if (!finished.wait(10000) || xclip.exitCode() != 0)
            return "xclip failed: " + xclip.readAllStandardError();
        return xclip.readAllStandardOutput();
    }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb and xclip are needed (apt install xvfb xclip)");
        QVERIFY2(m_serverStarted, "Xvfb did not start");
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
    }

    void copyPutsExactlyThePromptTextOnTheClipboard()
    {
        const PromptActionService actions(std::make_shared<ClipboardService>());
        const QString first = u"Old text"_s;
        QCOMPARE(actions.copyText(first), PromptCopyResult::success);
        QCOMPARE(readClipboard(u"UTF8_STRING"_s), first.toUtf8());

        // A later copy replaces the earlier one whole.
        const QString prompt = u"请审查这段代码 🚀\n  Keep the café's indentation.\n"_s;
        QCOMPARE(actions.copyText(prompt), PromptCopyResult::success);
        QCOMPARE(readClipboard(u"UTF8_STRING"_s), prompt.toUtf8());
        QCOMPARE(readClipboard(u"text/plain"_s), prompt.toUtf8());
    }
};

int main(int argc, char** argv)
{
    XvfbServer server;
    const bool hasTools = XvfbServer::available() && !QStandardPaths::findExecutable(u"xclip"_s).isEmpty();
    const bool started = hasTools && server.start();
    // The clipboard is the display's: this process itself must be a client of the private server.
    if (started) {
        qputenv("DISPLAY", server.display().toLocal8Bit());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QGuiApplication app(argc, argv);
    TestX11Clipboard test(hasTools, started, server);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11clipboard.moc"
