#include "tests/unit/platform/linux/desktop/ScriptedService.h"

#include <gtest/gtest.h>

ScriptedService::ScriptedService(const std::string& address, const char* name) : bus(openBus(address)) {
    EXPECT_NE(bus, nullptr) << address;
    EXPECT_NE(dbus_bus_register(bus.get(), nullptr), 0);
    EXPECT_EQ(dbus_bus_request_name(bus.get(), name, DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr),
              DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        << name;
}

void ScriptedService::serve() {
    constexpr int kPatienceMs = 5;
    dbus_connection_read_write(bus.get(), kPatienceMs);
    while (dbus_connection_get_dispatch_status(bus.get()) == DBUS_DISPATCH_DATA_REMAINS) {
        const BusMessage message(dbus_connection_pop_message(bus.get()));
        if (!message || dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
            continue;
        }
        const std::string method = dbus_message_get_member(message.get());
        called.push_back(method);
        const auto handler = handlers.find(method);
        BusMessage reply(dbus_message_new_method_return(message.get()));
        if (handler == handlers.end() || !handler->second(*message, *reply)) {
            reply.reset(dbus_message_new_error(message.get(), DBUS_ERROR_FAILED, "scripted"));
        }
        dbus_connection_send(bus.get(), reply.get(), nullptr);
    }
    dbus_connection_flush(bus.get());
}

void ScriptedService::emitSignal(const char* path, const char* interface, const char* member,
                                 const std::function<void(DBusMessage&)>& fill) {
    const BusMessage signal(dbus_message_new_signal(path, interface, member));
    if (fill) {
        fill(*signal);
    }
    dbus_connection_send(bus.get(), signal.get(), nullptr);
    dbus_connection_flush(bus.get());
}

void ScriptedService::emitBoolean(const char* path, const char* interface, const char* member, bool value) {
    emitSignal(path, interface, member, [value](DBusMessage& signal) {
        const dbus_bool_t argument = value ? 1 : 0;
        dbus_message_append_args(&signal, DBUS_TYPE_BOOLEAN, &argument, DBUS_TYPE_INVALID);
    });
}
