#pragma once

// A service on a message bus that answers as a test says and sends the signals that it wants.

#include "platform/linux/system/MessageBus.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

class ScriptedService {
public:
    /// Fills in the answer to a call; false makes it an error.
    using Handler = std::function<bool(DBusMessage& call, DBusMessage& answer)>;

    /// Owns this name on the bus from now on. The test fails where it is taken.
    ScriptedService(const std::string& address, const char* name);

    void answer(const std::string& method, Handler handler) { handlers[method] = std::move(handler); }
    /// Answers the calls that have come. To be called often; it waits a few milliseconds.
    void serve();
    /// The methods that were called, in order.
    [[nodiscard]] const std::vector<std::string>& calls() const { return called; }

    /// Sends a signal with the arguments that `fill` appends.
    void emitSignal(const char* path, const char* interface, const char* member,
                    const std::function<void(DBusMessage&)>& fill = {});
    void emitBoolean(const char* path, const char* interface, const char* member, bool value);

private:
    BusConnection bus;
    std::map<std::string, Handler> handlers;
    std::vector<std::string> called;
};
