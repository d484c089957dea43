// The floor for the panel's open time: a bare Qt program that grabs the same hot key the same way
// and maps a ready window of the panel's size when it is pressed, hiding it at the next press.
#include "X11HotKeyRegistrar.h"

#include <QApplication>
#include <QPainter>
#include <QWidget>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

class FloorWindow : public QWidget {
public:
    FloorWindow() : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    {
        setAttribute(Qt::WA_TranslucentBackground);
        setWindowRole(u"velmora-floor"_s);
        setGeometry(380, 28, 520, 480);
        winId();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(QColor(20, 24, 40, 230));
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(rect(), 30, 30);
    }
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    // The window appears only once the key is grabbed: the measuring client waits for it.
    std::unique_ptr<FloorWindow> window;
    X11HotKeyRegistrar registrar;
    HotKeyHandlerReference handler = 0;
    registrar.installEventHandler(
        [&window](HotKeyID) {
            QMetaObject::invokeMethod(window.get(), [&window] { window->setVisible(!window->isVisible()); });
        },
        handler);
    HotKeyReference key = 0;
    const PromptKeyboardShortcut shortcut{35, ShortcutModifiers::control | ShortcutModifiers::shift};
    if (const qint32 status = registrar.registerHotKey(shortcut, HotKeyID{0x564C4D41, 1}, key); status != 0) {
        std::fprintf(stderr, "the hot key could not be grabbed: %d\n", status);
        return 1;
    }
    window = std::make_unique<FloorWindow>();
    return QApplication::exec();
}
