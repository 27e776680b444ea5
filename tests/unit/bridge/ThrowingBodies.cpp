#include "tests/unit/bridge/ThrowingBodies.h"

#include "audio/capture/AudioRouterService.h"
#include "audio/capture/AudioRouterState.h"
#include "bridge/ApplicationInventory.h"
#include "bridge/SampleRateProbe.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/mixer/FakeRouterPlatform.h"

#include <chrono>
#include <stdexcept>

namespace {

bool throwing = false;
int thrown = 0;

template <typename Result>
Result answer(Result result) {
    if (throwing) {
        ++thrown;
        throw std::runtime_error(kThrownText);
    }
    return result;
}

RouterPlatform platformWithThrowingCaptures() {
    static FakeRouterPlatform fakes;
    RouterPlatform platform = fakes.platform();
    platform.makeProcessCapture = [](PerAppInputBuffers&) {
        return answer(std::shared_ptr<ProcessCapture>());
    };
    return platform;
}

} // namespace

void letBodiesThrow(bool wanted) {
    throwing = wanted;
}

int thrownCount() {
    return thrown;
}

// ---- the capture service

// NOLINTNEXTLINE(performance-unnecessary-value-param): declared so
AudioRouterService::AudioRouterService(PerAppInputBuffers& inputBuffers, Pause, SoundInputs& soundInputs)
    : buffers(inputBuffers), inputs(soundInputs), state(answer(std::make_unique<AudioRouterState>())) {}
AudioRouterService::~AudioRouterService() = default;

bool AudioRouterService::Start(const AudioRouterConfig&) {
    return answer(true);
}

void AudioRouterService::Stop() {
    static_cast<void>(answer(true));
}

bool AudioRouterService::Restart() {
    return answer(true);
}

bool AudioRouterService::IsRunning() const {
    return answer(true);
}

bool AudioRouterService::SetSampleRate(double) {
    return answer(true);
}

double AudioRouterService::GetSampleRate() const {
    return answer(48000.0);
}

bool AudioRouterService::AddInputDevice(const std::string&, std::int32_t, std::int32_t) {
    return answer(true);
}

bool AudioRouterService::RemoveInputDevice(const std::string&) {
    return answer(true);
}

std::vector<InputDeviceRequest> AudioRouterService::GetInputDevices() const {
    return answer(std::vector<InputDeviceRequest>(1));
}

bool AudioRouterService::HasMissingInput() const {
    return answer(true);
}

bool AudioRouterService::HasMisplacedInput() const {
    return answer(true);
}

bool AudioRouterService::RefreshDevices() {
    return answer(true);
}

std::vector<AudioDeviceEntry> AudioRouterService::GetDeviceList(std::int32_t) const {
    return answer(std::vector<AudioDeviceEntry>(1));
}

bool AudioRouterService::SetAudioCallback(AudioBlockCallback) {
    return answer(true);
}

void AudioRouterService::SetPrepareCallback(AudioPrepareCallback) {}

// ---- the router, the inventories, the probe

AudioRouterAPI& AudioRouterAPI::instance() {
    static auto* const router = new AudioRouterAPI(
        platformWithThrowingCaptures(), AppAudioConfigStore::instance(), PerAppInputBuffers::instance());
    return *router;
}

QVariantList getWindowsRunningApplicationsWithIcon() {
    return answer(QVariantList{1});
}

QVariantList withInputDevices(QVariantList applications, const QVariantList&) {
    return applications;
}

QVariantList installedProgramMaps() {
    return answer(QVariantList{1});
}

QString ownIconAddress(const QString&) {
    return {};
}

bool endIconWork(std::chrono::milliseconds) {
    return true;
}

bool probeDeviceSampleRate(SoundInputs&, const QString&, double) {
    return answer(true);
}
