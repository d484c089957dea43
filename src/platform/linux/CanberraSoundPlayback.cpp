#include "CanberraSoundPlayback.h"

#include <QDir>
#include <QFileInfo>

#include <canberra.h>

using namespace Qt::StringLiterals;

namespace {

// How far above the executable's folder the source tree is looked for.
constexpr int sourceTreeLevels = 8;

// The one connection to the sound server, opened at the first play and again after a failed open, so
// a server that starts after Velmora is still used.
ca_context* soundContext()
{
    struct Holder {
        ca_context* context = nullptr;
        ~Holder()
        {
            if (context)
                ca_context_destroy(context);
        }
    };
    static Holder holder;
    if (holder.context)
        return holder.context;
    ca_context* context = nullptr;
    if (ca_context_create(&context) != CA_SUCCESS)
        return nullptr;
    ca_context_change_props(context, CA_PROP_APPLICATION_NAME, "Velmora", CA_PROP_APPLICATION_ID,
                            "app.velmora.Velmora", nullptr);
    // The sound server only (PulseAudio, or PipeWire's Pulse service): canberra's fallback to bare
    // ALSA fails loudly on standard error at every play where there is no sound device.
    ca_context_set_driver(context, "pulse");
    if (ca_context_open(context) != CA_SUCCESS) {
        ca_context_destroy(context);
        return nullptr;
    }
    holder.context = context;
    return context;
}

uint32_t nextPlayID()
{
    static uint32_t last = 0;
    return ++last;
}

} // namespace

CanberraSoundPlayback::CanberraSoundPlayback(QString filePath) : m_filePath(std::move(filePath)) {}

CanberraSoundPlayback::~CanberraSoundPlayback()
{
    stop();
}

bool CanberraSoundPlayback::isPlaying() const
{
    int playing = 0;
    ca_context* context = m_playID ? soundContext() : nullptr;
    return context && ca_context_playing(context, *m_playID, &playing) == CA_SUCCESS && playing;
}

void CanberraSoundPlayback::stop()
{
    if (m_playID) {
        if (ca_context* context = soundContext())
            ca_context_cancel(context, *m_playID);
    }
    m_playID.reset();
}

void CanberraSoundPlayback::setCurrentTime(double seconds)
{
    Q_UNUSED(seconds)
}

bool CanberraSoundPlayback::play()
{
    ca_context* context = soundContext();
    if (!context)
        return false;
    const uint32_t id = nextPlayID();
    const QByteArray path = QFile::encodeName(m_filePath);
    if (ca_context_play(context, id, CA_PROP_MEDIA_FILENAME, path.constData(), CA_PROP_MEDIA_ROLE, "event",
                        nullptr) != CA_SUCCESS)
        return false;
    m_playID = id;
    return true;
}

QStringList CanberraSoundPlayback::soundDirectories(const QString& executableDirectory)
{
    QStringList directories;
    const QString installed = QDir::cleanPath(executableDirectory + u"/../share/velmora/sounds"_s);
    if (QFileInfo(installed).isDir())
        directories.append(installed);
    QDir directory(executableDirectory);
    for (int level = 0; level < sourceTreeLevels; ++level) {
        const QString candidate = directory.filePath(u"resources/sounds"_s);
        if (QFileInfo(candidate).isDir()) {
            directories.append(QDir::cleanPath(candidate));
            break;
        }
        if (!directory.cdUp())
            break;
    }
    return directories;
}

std::optional<QString> CanberraSoundPlayback::soundFile(const QString& name, const QStringList& directories)
{
    // The name comes from the preferences: it may only pick a file inside the folders.
    if (name.isEmpty() || name.startsWith(u'.') || name.contains(u'/') || name.contains(QChar(0)))
        return std::nullopt;
    for (const QString& directory : directories) {
        const QString path = QDir(directory).filePath(name + u".wav"_s);
        if (QFileInfo(path).isFile())
            return path;
    }
    return std::nullopt;
}

PromptCopySoundFactory CanberraSoundPlayback::factory(QStringList directories)
{
    return [directories =
                std::move(directories)](const QString& name) -> std::unique_ptr<PromptCopySoundPlayback> {
        const std::optional<QString> file = soundFile(name, directories);
        if (!file)
            return nullptr;
        return std::make_unique<CanberraSoundPlayback>(*file);
    };
}
