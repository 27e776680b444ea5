#include "device/link/Link.h"

#include "device/link/LinkHello.h"
#include "device/link/LinkMessages.h"
#include "device/link/LinkPeers.h"
#include "device/link/LinkReceiver.h"
#include "device/link/LinkRequests.h"
#include "device/link/LinkRouting.h"
#include "device/link/LinkSeed.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <cstdlib>

using vexo::link::stack;

void linkInit() {
    vexo::link::resetStack();
    stack().hostChid = vexo::link::kHostFirstChid;
    // Seeded with the time of the build, so that two builds pick different ids in an address conflict.
    std::srand(vexo::link::seedOf(__DATE__, __TIME__));
    vexo::link::registerIdentityMessages();
    vexo::link::registerAttributeMessages();
}

void linkInstallLoginCallback(LinkLoginCallback callback, void* context) {
    stack().callbacks.login = {callback, context};
}

void linkInstallNameCallback(LinkAnswerCallback callback, void* context) {
    stack().callbacks.name = {callback, context};
}

void linkInstallSerialCallback(LinkAnswerCallback callback, void* context) {
    stack().callbacks.serial = {callback, context};
}

void linkInstallVersionCallback(LinkAnswerCallback callback, void* context) {
    stack().callbacks.version = {callback, context};
}

void linkInstallAttributeCallback(LinkAttributeCallback callback, void* context) {
    stack().callbacks.attribute = {callback, context};
}

void linkInstallErrorCallback(LinkErrorCallback callback, void* context) {
    stack().callbacks.error = {callback, context};
}

std::uint32_t linkOpenChannel(LinkSendFunction sendFunction, void* context) {
    // Channel 0 is the stack's own.
    for (std::uint32_t channel = 1; channel < vexo::link::kChannelCount; ++channel) {
        if (!stack().channels[channel].used) {
            stack().channels[channel] = {true, sendFunction, context, {}};
            return channel;
        }
    }
    vexo::link::reportError(kLinkErrorNoChannel, 0);
    return 0;
}

void linkForgetConnection() {
    for (vexo::link::Channel& channel : stack().channels) {
        vexo::link::releaseFrame(channel.parser.frame);
        channel.parser = {};
    }
    vexo::link::forgetReceivedFrames();
    vexo::link::forgetQueuedFrames();
    vexo::link::forgetPendingRequests();
    vexo::link::forgetPeers();
}

void linkPoll() {
    vexo::link::processReceivedFrame();
    vexo::link::sendQueuedFrameWhenDue();
    vexo::link::agePeersWhenDue();
    vexo::link::broadcastHelloWhenDue();
    vexo::link::retryPendingRequests();
}

void linkTick(std::uint32_t milliseconds) {
    stack().now += milliseconds;
}

std::uint32_t linkIdleTicks() {
    if (stack().receiveQueue.size() != 0 || stack().sendQueue.size() != 0) {
        return 0;
    }
    return std::min({vexo::link::ticksToAgeing(), vexo::link::ticksToHello(), vexo::link::ticksToRetry()});
}
