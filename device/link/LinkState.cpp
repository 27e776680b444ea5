#include "device/link/LinkState.h"

#include <cstring>
#include <new>

namespace vexo::link {

Stack& stack() {
    static constinit Pool pool;
    static constinit Stack instance(pool);
    return instance;
}

void resetStack() {
    Pool& pool = stack().pool;
    poolClear(pool);
    new (&stack()) Stack(pool);
}

LinkAddress hostAddress() {
    return {stack().hostChid, kHostVid, kHostPid};
}

void reportError(int code, std::uint16_t messageId) {
    const auto& error = stack().callbacks.error;
    if (error.function != nullptr) {
        error.function(code, messageId, error.context);
    }
}

std::uint8_t* takeMemory(std::uint32_t byteCount, std::uint16_t messageId) {
    const PoolBlock block = poolTake(stack().pool, byteCount);
    if (block.error != 0) {
        reportError(block.error, messageId);
    }
    return block.bytes;
}

void releaseMemory(const std::uint8_t* memory, std::uint32_t generation, std::uint16_t messageId) {
    if (memory == nullptr || generation != stack().pool.generation) {
        return;
    }
    const int error = poolRelease(stack().pool, memory);
    if (error != 0) {
        reportError(error, messageId);
    }
}

bool storeFrame(const LinkFrame& frame, StoredFrame& stored) {
    stored.frame = frame;
    stored.poolGeneration = stack().pool.generation;
    if (frame.length == 0 || frame.payload == nullptr) {
        stored.frame.payload = nullptr;
        return true;
    }
    std::uint8_t* copy = takeMemory(frame.length, frame.messageId);
    if (copy == nullptr) {
        return false;
    }
    std::memcpy(copy, frame.payload, frame.length);
    stored.frame.payload = copy;
    stored.poolGeneration = stack().pool.generation;
    return true;
}

void releaseFrame(StoredFrame& stored) {
    releaseMemory(stored.frame.payload, stored.poolGeneration, stored.frame.messageId);
    stored.frame.payload = nullptr;
}

bool isIntact(const StoredFrame& stored) {
    return stored.frame.payload == nullptr || stored.poolGeneration == stack().pool.generation;
}

LinkAddress readAddress(const std::uint8_t* bytes) {
    return {bytes[0], bytes[1], readU16(bytes + 2)};
}

void writeAddress(const LinkAddress& address, std::uint8_t* bytes) {
    bytes[0] = address.chid;
    bytes[1] = address.vid;
    writeU16(address.pid, bytes + 2);
}

} // namespace vexo::link
