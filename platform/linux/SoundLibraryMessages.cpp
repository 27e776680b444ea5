#include "platform/SoundLibraryMessages.h"

#include <QLoggingCategory>
#include <QString>

#include <alsa/asoundlib.h>
#include <cstdarg>
#include <dlfcn.h>

namespace {

Q_LOGGING_CATEGORY(soundLibraries, "vexo.soundlibraries", QtFatalMsg)

// The library's type of handler takes the arguments of a format.
void takeAlsaMessage(const char*, int, const char* function, int error, const char* format, ...) {
    if (!soundLibraries().isDebugEnabled()) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    qCDebug(soundLibraries).noquote().nospace()
        << "ALSA: " << function << ": " << text
        << (error != 0 ? QStringLiteral(": ") + QString::fromLocal8Bit(snd_strerror(error)) : QString());
}

void takeJackMessage(const char* text) {
    qCDebug(soundLibraries).noquote() << "JACK:" << QString::fromLocal8Bit(text).trimmed();
}

} // namespace

void takeSoundLibraryMessages() {
    snd_lib_error_set_handler(takeAlsaMessage);
    // JACK is there only where PortAudio was built with it.
    using Handler = void (*)(const char* text);
    using SetHandler = void (*)(Handler);
    for (const char* const name : {"jack_set_error_function", "jack_set_info_function"}) {
        if (const auto set = reinterpret_cast<SetHandler>(dlsym(RTLD_DEFAULT, name))) {
            set(takeJackMessage);
        }
    }
}
