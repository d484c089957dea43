#include "AuxiliaryWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <QWidget>

using namespace Qt::StringLiterals;

void AuxiliaryWindow::prepare(QWidget* window, const QString& title, bool minimizable)
{
    Qt::WindowFlags flags = Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
    if (minimizable)
        flags |= Qt::WindowMinimizeButtonHint;
    window->setWindowFlags(flags);
    window->setWindowTitle(title);
    window->setWindowIcon(QIcon(u":/icons/velmora.svg"_s));
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen) {
        QRect frame(QPoint(), window->size());
        frame.moveCenter(screen->availableGeometry().center());
        window->move(frame.topLeft());
    }
}

void AuxiliaryWindow::present(QWidget* window, const Activate& activate)
{
    window->showNormal();
    window->raise();
    window->activateWindow();
    if (activate)
        activate(window);
}
