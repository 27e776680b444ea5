#include "platform/SoundLibraries.h"

#include <QLoggingCategory>
#include <QString>

#include <alsa/asoundlib.h>
#include <cstdarg>

namespace {

Q_LOGGING_CATEGORY(soundLibraries, "vexo.soundlibraries", QtFatalMsg)

// jack_status_t: the request failed, for there is no server.
constexpr int kJackFailure = 0x01;
constexpr int kJackServerFailed = 0x10;

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

} // namespace

void prepareSoundLibraries() {
    snd_lib_error_set_handler(takeAlsaMessage);
}

// In the place of the JACK library's: the program exports it, so PortAudio and ALSA's plugin call this one.
extern "C" void* jack_client_open(const char*, int, int* status, ...) {
    if (status) {
        *status = kJackFailure | kJackServerFailed;
    }
    return nullptr;
}
