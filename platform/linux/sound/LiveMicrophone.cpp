#include "platform/linux/sound/LiveMicrophone.h"

#include "mixer/RouterLog.h"
#include "platform/linux/sound/PulseHandles.h"

#include <algorithm>
#include <cstring>
#include <format>
#include <utility>

namespace {

constexpr const char* kMark = "vexo.live";
constexpr const char* kSpareName = "vexo_spare";
// A name that makes PulseAudio choose its default input by itself again.
constexpr const char* kServersChoiceOfSource = "@NONE@";
// Somebody who takes our modules away again and again means it, or the server cannot keep them.
constexpr int kMostLosses = 10;

// The device class and the two priorities are the lowest that PulseAudio and PipeWire know. A virtual node is
// none that PipeWire switches to when it comes.
constexpr const char* kLowestPriority =
    "device.class=modem priority.session=-1 priority.driver=1 node.virtual=true "
    "device.icon_name=audio-input-microphone";

// Blocks of PulseAudio's null sink are up to 2 s long where they can be rewound.
constexpr const char* kNullSinkFormat = "format=float32le rate=48000 channels=2 norewinds=1";

std::string monitorOf(const std::string& sinkName) {
    return sinkName + ".monitor";
}

std::string markedProperties(const char* description, const char* more) {
    return std::format("device.description='{}' {}=1 {}", description, kMark, more);
}

} // namespace

bool LiveMicrophone::isOurs(const pa_proplist& properties) {
    return pa_proplist_contains(&properties, kMark) == 1;
}

bool LiveMicrophone::isSubstitute(const std::string& sinkName) {
    return sinkName == "auto_null"; // on PulseAudio and on PipeWire
}

LiveMicrophone::LiveMicrophone(std::function<void()> onRemoved)
    : removed(std::move(onRemoved)),
      spare{.owner = this,
            .module = "module-null-sink",
            .arguments = std::format("sink_name={} {} sink_properties=\"{}\"", kSpareName, kNullSinkFormat,
                                     markedProperties("Dummy Output", ""))},
      sink{.owner = this,
           .module = "module-null-sink",
           .arguments = std::format("sink_name={} {} sink_properties=\"{}\"", kSinkName, kNullSinkFormat,
                                    markedProperties("VEXO Live mix", kLowestPriority))},
      source{.owner = this,
             .module = "module-remap-source",
             .arguments = std::format("master={}.monitor source_name={} source_properties=\"{}\"", kSinkName,
                                      kSourceName, markedProperties(kName, kLowestPriority))} {}

void LiveMicrophone::begin(pa_context& newContext, const ServerPicture& picture) {
    context = &newContext;
    server = picture;
    const PulseOperation started(pa_context_get_module_info_list(context, onModule, this));
}

void LiveMicrophone::update(const ServerPicture& picture) {
    server = picture;
    reconcile();
}

void LiveMicrophone::forget() {
    context = nullptr;
    listed = false;
    releasing = false;
    heldSource.clear();
    for (Part* const part : parts) {
        part->index = PA_INVALID_INDEX;
        part->underWay = false;
        part->refused = false;
        part->losses = 0;
    }
    if (removing) {
        removed();
    }
}

void LiveMicrophone::noteUnloaded(std::uint32_t moduleIndex) {
    const auto gone = std::ranges::find(parts, moduleIndex, &Part::index);
    if (gone == parts.end() || moduleIndex == PA_INVALID_INDEX) {
        return;
    }
    (*gone)->index = PA_INVALID_INDEX;
    if (++(*gone)->losses > kMostLosses) {
        refuse(**gone, "it is taken away again and again");
    }
    reconcile();
}

void LiveMicrophone::remove() {
    removing = true;
    reconcile();
}

bool LiveMicrophone::isRemoved() const {
    return context == nullptr || (listed && !hasParts() && heldSource.empty() && !releasing);
}

bool LiveMicrophone::hasParts() const {
    return std::ranges::any_of(
        parts, [](const Part* part) { return part->index != PA_INVALID_INDEX || part->underWay; });
}

void LiveMicrophone::onModule(pa_context*, const pa_module_info* info, int end, void* self) {
    auto* const microphone = static_cast<LiveMicrophone*>(self);
    if (end == 0) {
        microphone->keepModule(*info);
        return;
    }
    microphone->listed = true;
    microphone->reconcile();
}

// What is not as this program would make it is of another version, or one too many.
void LiveMicrophone::keepModule(const pa_module_info& info) {
    if (info.argument == nullptr || std::strstr(info.argument, kMark) == nullptr) {
        return;
    }
    const auto same = std::ranges::find_if(parts, [&info](const Part* part) {
        return part->index == PA_INVALID_INDEX && part->arguments == info.argument;
    });
    if (same == parts.end()) {
        const PulseOperation started(pa_context_unload_module(context, info.index, nullptr, nullptr));
        return;
    }
    (*same)->index = info.index;
    // A killed program may have held the default input.
    if (*same == &source && server.defaultSource == monitorOf(server.defaultSink)) {
        heldSource = server.defaultSource;
    }
}

void LiveMicrophone::reconcile() {
    if (context == nullptr || !listed) {
        return;
    }
    if (removing) {
        removeAll();
    } else {
        makeAll();
    }
}

void LiveMicrophone::makeAll() {
    if (!server.hasOutput) {
        want(spare);
    }
    if (server.hasOutput || spare.index != PA_INVALID_INDEX) {
        want(sink);
    }
    keepDefaultSource();
    if (sink.index != PA_INVALID_INDEX) {
        want(source);
    }
    if (server.hasOutput) {
        unwant(spare);
    }
}

void LiveMicrophone::removeAll() {
    for (Part* const part : parts) {
        unwant(*part);
    }
    if (!hasParts() && !heldSource.empty()) {
        releaseDefaultSource();
    }
    if (isRemoved()) {
        removed();
    }
}

void LiveMicrophone::want(Part& part) {
    if (part.index != PA_INVALID_INDEX || part.underWay || part.refused) {
        return;
    }
    const PulseOperation started(
        pa_context_load_module(context, part.module, part.arguments.c_str(), onLoaded, &part));
    part.underWay = static_cast<bool>(started);
}

void LiveMicrophone::unwant(Part& part) {
    if (part.index == PA_INVALID_INDEX || part.underWay) {
        return;
    }
    const PulseOperation started(pa_context_unload_module(context, part.index, onUnloaded, &part));
    part.underWay = static_cast<bool>(started);
    part.index = PA_INVALID_INDEX;
}

void LiveMicrophone::onLoaded(pa_context* context, std::uint32_t index, void* part) {
    auto* const made = static_cast<Part*>(part);
    made->underWay = false;
    made->index = index;
    if (index == PA_INVALID_INDEX) {
        refuse(*made, pa_strerror(pa_context_errno(context)));
    }
    made->owner->reconcile();
}

void LiveMicrophone::refuse(Part& part, const char* reason) {
    part.refused = true;
    routerLog("[WARNING] Virtual microphone {} cannot be made: {}", kName, reason);
}

// Also when somebody else has taken the module away before.
void LiveMicrophone::onUnloaded(pa_context*, int, void* part) {
    auto* const gone = static_cast<Part*>(part);
    gone->underWay = false;
    gone->owner->reconcile();
}

// PulseAudio would choose our microphone for its default input while there is no other one, instead of what
// its default output plays. Any other default is somebody's choice, from which it does not move.
void LiveMicrophone::keepDefaultSource() {
    if (server.isPipeWire) {
        return;
    }
    if (server.hasMicrophone) {
        releaseDefaultSource();
        return;
    }
    const std::string wanted = monitorOf(server.defaultSink);
    const std::string& current = server.defaultSource;
    const bool isHeld = !heldSource.empty() && current == heldSource;
    if (server.defaultSink.empty() || (current != wanted && current != kSourceName && !isHeld)) {
        return;
    }
    if (heldSource != wanted) {
        setDefaultSource(wanted);
        heldSource = wanted;
    }
}

void LiveMicrophone::setDefaultSource(const std::string& name) {
    const PulseOperation started(pa_context_set_default_source(context, name.c_str(), nullptr, nullptr));
}

// Leaves it alone where somebody has chosen another one meanwhile.
void LiveMicrophone::releaseDefaultSource() {
    if (!heldSource.empty() && server.defaultSource == heldSource) {
        const PulseOperation started(
            pa_context_set_default_source(context, kServersChoiceOfSource, onReleased, this));
        releasing = static_cast<bool>(started);
    }
    heldSource.clear();
}

void LiveMicrophone::onReleased(pa_context*, int, void* self) {
    auto* const microphone = static_cast<LiveMicrophone*>(self);
    microphone->releasing = false;
    microphone->reconcile();
}
