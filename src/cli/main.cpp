// velmora-cli's entry. The clipboard server is the same program started with a hidden option; it
// must be told apart before anything of Qt exists, since it forks.
#include "ClipboardServer.h"
#include "VelmoraCli.h"

#include <QCoreApplication>
#include <cstring>

int main(int argc, char* argv[])
{
    if (argc == 2 && std::strcmp(argv[1], ClipboardServer::internalOption) == 0)
        return ClipboardServer::run(argc, argv);

    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    return VelmoraCli(QCoreApplication::arguments()).run();
}
