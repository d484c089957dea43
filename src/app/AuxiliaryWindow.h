// What the settings window and the welcome guide share: ordinary top-level windows in the task
// switcher with the application's icon, made on first request, centred once and then kept, so that
// each showing finds them as they were; each request brings them forward.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace AuxiliaryWindow {

// Asks the window manager for the focus on behalf of the request (its timestamp); may be empty.
using Activate = std::function<void(QWidget* window)>;

// Makes `window` a titled top-level window with the given buttons beside close, centred on the
// screen that holds the pointer.
void prepare(QWidget* window, const QString& title, bool minimizable);
void present(QWidget* window, const Activate& activate);

} // namespace AuxiliaryWindow
