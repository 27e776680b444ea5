#include "emulator/hidapi/EmulatedHandle.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>

namespace vexo::emulator {
namespace {

using Clock = std::chrono::steady_clock;

// How long a request waits for its answer, unless VEXO_EMULATOR_ANSWER_MS says otherwise.
constexpr int kAnswerMs = 2000;
// The kernel takes output reports of 2 to 16384 bytes, the report id included.
constexpr std::size_t kShortestReport = 2;
constexpr std::size_t kLongestReport = 16384;
// As long as a USB transfer may take before the kernel aborts it.
constexpr std::chrono::seconds kWriteLimit(5);
constexpr const wchar_t* kGone = L"the device is disconnected";

int answerLimitMs() {
    const char* const value = std::getenv("VEXO_EMULATOR_ANSWER_MS"); // read only, as LocalSocket's variable
    const int milliseconds = value == nullptr ? 0 : std::atoi(value);
    return milliseconds > 0 ? milliseconds : kAnswerMs;
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(0, left));
}

bool sendAll(LocalSocket& socket, BytesView bytes) {
    std::size_t count = 0;
    while (!bytes.empty()) {
        if (socket.send(bytes, count) != LocalSocket::Transfer::Done) {
            return false;
        }
        bytes = bytes.subspan(count);
    }
    return true;
}

// Receives at most the rest of the present message. False when the connection has ended.
bool receiveSome(LocalSocket& socket, WireBuffer& buffer) {
    std::array<std::uint8_t, 4096> bytes{};
    std::size_t count = 0;
    const std::size_t wanted = std::min(bytes.size(), buffer.missing());
    const LocalSocket::Transfer transfer = socket.receive(std::span(bytes).first(wanted), count);
    buffer.add(BytesView(bytes).first(count));
    return transfer != LocalSocket::Transfer::Closed && !buffer.broken();
}

std::optional<Bytes> askOn(LocalSocket& socket, WireType type, BytesView body) {
    Bytes request{kHidClient};
    const Bytes message = wireMessage(type, body);
    request.insert(request.end(), message.begin(), message.end());
    if (!socket.isOpen() || !sendAll(socket, request)) {
        return std::nullopt;
    }
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(answerLimitMs());
    WireBuffer buffer;
    while (true) {
        // An answer counts even if the connection ends right behind it.
        if (socket.waitReadable(millisecondsUntil(deadline)) == LocalSocket::Readiness::TimedOut &&
            Clock::now() >= deadline) {
            return std::nullopt;
        }
        const bool open = receiveSome(socket, buffer);
        if (std::optional<WireBuffer::Message> answer = buffer.take()) {
            return answer->type == type ? std::optional(std::move(answer->body)) : std::nullopt;
        }
        if (!open) {
            return std::nullopt;
        }
    }
}

} // namespace

std::optional<Bytes> askEmulator(WireType type, BytesView body) {
    LocalSocket socket = LocalSocket::connectTo(socketPath());
    return askOn(socket, type, body);
}

std::shared_ptr<EmulatedHandle> EmulatedHandle::open(const std::string& path, std::wstring& error) {
    error = L"Failed to open the device";
    LocalSocket socket = LocalSocket::connectTo(socketPath());
    Bytes body;
    appendText(body, path);
    const std::optional<Bytes> answer = askOn(socket, WireType::Open, body);
    if (!answer) {
        return nullptr;
    }
    WireReader reader(*answer);
    const auto result = static_cast<OpenResult>(reader.takeU8());
    if (result == OpenResult::NoPermission) {
        error = L"Failed to open a device with path '" + std::wstring(path.begin(), path.end()) +
                L"': Permission denied";
    }
    if (result != OpenResult::Opened) {
        return nullptr;
    }
    InterfaceInfo info = reader.takeInterface();
    return reader.ok() ? std::make_shared<EmulatedHandle>(std::move(socket), std::move(info)) : nullptr;
}

void EmulatedHandle::close() {
    die();
    socket.shutDown();
}

bool EmulatedHandle::gone() {
    if (!dead && socket.waitReadable(0) == LocalSocket::Readiness::Closed) {
        die();
    }
    return dead;
}

void EmulatedHandle::die() {
    const std::lock_guard lock(holdMutex);
    dead = true;
    holdChanged.notify_all();
}

void EmulatedHandle::setHeld(bool isHeld) {
    const std::lock_guard lock(holdMutex);
    held = isHeld;
    holdChanged.notify_all();
}

bool EmulatedHandle::waitUntilTaken() {
    std::unique_lock lock(holdMutex);
    return holdChanged.wait_for(lock, kWriteLimit, [this] { return !held || dead; });
}

void EmulatedHandle::setError(std::wstring text) {
    const std::lock_guard lock(errorMutex);
    error = std::move(text);
}

std::wstring EmulatedHandle::lastError() const {
    const std::lock_guard lock(errorMutex);
    return error;
}

int EmulatedHandle::fail(std::wstring text) {
    setError(std::move(text));
    return -1;
}

int EmulatedHandle::takeReport(std::span<std::uint8_t> buffer, const Bytes& report) const {
    const std::size_t count = std::min(buffer.size(), report.size());
    std::copy_n(report.begin(), count, buffer.begin());
    return static_cast<int>(count);
}

bool EmulatedHandle::takeTurn(bool forEver, Clock::time_point deadline) {
    std::unique_lock lock(turnMutex);
    const auto isFree = [this] {
        return !turnTaken;
    };
    if (forEver) {
        turnEnded.wait(lock, isFree);
    } else if (!turnEnded.wait_until(lock, deadline, isFree)) {
        return false;
    }
    turnTaken = true;
    return true;
}

void EmulatedHandle::endTurn() {
    {
        const std::lock_guard lock(turnMutex);
        turnTaken = false;
    }
    turnEnded.notify_one();
}

int EmulatedHandle::read(std::span<std::uint8_t> buffer, int timeoutMs) {
    setError({});
    const bool forEver = timeoutMs < 0;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(std::max(0, timeoutMs));
    if (!takeTurn(forEver, deadline)) {
        return 0;
    }
    const int count = receiveReport(buffer, forEver, deadline);
    endTurn();
    return count;
}

int EmulatedHandle::receiveReport(std::span<std::uint8_t> buffer, bool forEver, Clock::time_point deadline) {
    while (!dead) {
        const LocalSocket::Readiness readiness =
            socket.waitReadable(forEver ? -1 : millisecondsUntil(deadline));
        if (readiness == LocalSocket::Readiness::TimedOut) {
            if (!forEver && Clock::now() >= deadline) {
                return 0;
            }
            continue;
        }
        // As with the kernel, a read with a time-out sees the unplug before reports that are still unread,
        // and a read without one takes them first.
        if (readiness == LocalSocket::Readiness::Closed && !forEver) {
            break;
        }
        const bool open = receiveSome(socket, incoming);
        if (const std::optional<WireBuffer::Message> message = incoming.take()) {
            if (message->type == WireType::Input) {
                return takeReport(buffer, message->body);
            }
            if (message->type == WireType::Hold) {
                setHeld(message->body == Bytes{1});
            }
        } else if (!open) {
            break;
        }
    }
    die();
    return fail(kGone);
}

int EmulatedHandle::write(BytesView report) {
    setError({});
    if (report.size() < kShortestReport || report.size() > kLongestReport) {
        return fail(L"a report has 2 to 16384 bytes, its report id included");
    }
    const std::lock_guard lock(writeMutex);
    if (!waitUntilTaken()) {
        return fail(L"the device took no report in time");
    }
    if (gone()) {
        return fail(kGone);
    }
    if (!sendAll(socket, wireMessage(WireType::Write, report))) {
        // After a message that was sent in part, no other can follow.
        close();
        return fail(kGone);
    }
    return static_cast<int>(report.size());
}

int EmulatedHandle::sendFeature(BytesView report) {
    setError({});
    Bytes body;
    appendText(body, info.path);
    body.insert(body.end(), report.begin(), report.end());
    const std::optional<Bytes> answer =
        report.empty() || gone() ? std::nullopt : askEmulator(WireType::SetFeature, body);
    if (!answer || *answer != Bytes{1}) {
        return fail(L"the device did not take the feature report");
    }
    return static_cast<int>(report.size());
}

int EmulatedHandle::getFeature(std::span<std::uint8_t> buffer) {
    setError({});
    Bytes body;
    appendText(body, info.path);
    body.push_back(buffer.empty() ? std::uint8_t{0} : buffer[0]);
    const std::optional<Bytes> answer =
        buffer.empty() || gone() ? std::nullopt : askEmulator(WireType::GetFeature, body);
    if (!answer || answer->empty() || answer->front() != 1) {
        return fail(L"the device has no such feature report");
    }
    return takeReport(buffer, Bytes(answer->begin() + 1, answer->end()));
}

} // namespace vexo::emulator
