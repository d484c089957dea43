// Keeps copied text on the X11 clipboard after velmora-cli has exited. X11 keeps no clipboard of its
// own: the owner of the selection answers every paste. So the tool starts itself again as a small
// detached process that owns the clipboard until another program takes it over, or for ten minutes.
#pragma once

#include "ClipboardWriting.h"

#include <chrono>

namespace ClipboardServer {

// The hidden first argument that makes velmora-cli the server.
inline constexpr char internalOption[] = "--serve-clipboard";
inline constexpr std::chrono::minutes lifetime{10};

// How the server ended its start; the exit status of the process that started it.
enum Status : int { serving = 0, failed = 2, noDisplay = 3, refused = 4 };

// The server's entry: reads the text from standard input, leaves a detached process owning the
// clipboard, and exits with `serving` once that owns it.
int run(int argc, char* argv[]);

} // namespace ClipboardServer

// The clipboard of a copy from the command line: starts the server and waits for its answer.
class DetachedClipboardWriter final : public ClipboardWriting {
public:
    bool writeText(const QString& text) override;
    ClipboardServer::Status status() const { return m_status; }

private:
    ClipboardServer::Status m_status = ClipboardServer::failed;
};
