"""A scripted RealtimeKit: grants real-time scheduling on a private bus, by the rules of the real one.

    python3 realtime_kit.py BUS_ADDRESS [--priority N] [--rttime US] [--refuse] [--silent]

Prints a line of JSON when it is there, and one for each request: the thread's name, the priority, the process's limits on
real time in microseconds, and whether it was granted.
"""

import argparse
import json
import os
import pathlib

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.freedesktop.RealtimeKit1"
INTERFACE = """
<node><interface name="org.freedesktop.RealtimeKit1">
<method name="MakeThreadRealtime"><arg name="thread" type="t" direction="in"/><arg name="priority" type="u" direction="in"/></method>
<property name="RTTimeUSecMax" type="x" access="read"/>
<property name="MaxRealtimePriority" type="i" access="read"/>
<property name="MinNiceLevel" type="i" access="read"/>
</interface></node>
"""


def say(**words):
    print(json.dumps(words), flush=True)


def limits_of(pid):
    """The soft and the hard limit on real time of a process; None: unlimited."""
    line = next(line for line in pathlib.Path(f"/proc/{pid}/limits").read_text().splitlines()
                if line.startswith("Max realtime timeout"))
    return [None if word == "unlimited" else int(word) for word in line.split()[3:5]]


class Service:
    def __init__(self, arguments):
        self.arguments = arguments
        self.bus = Gio.DBusConnection.new_for_address_sync(
            arguments.bus, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/org/freedesktop/RealtimeKit1", interface, self.on_call, self.on_property, None)
        Gio.bus_own_name_on_connection(self.bus, NAME, Gio.BusNameOwnerFlags.NONE, lambda *_: say(ready=True), None)

    def on_property(self, _connection, _sender, _path, _interface, name):
        return {"RTTimeUSecMax": GLib.Variant("x", self.arguments.rttime),
                "MaxRealtimePriority": GLib.Variant("i", self.arguments.priority),
                "MinNiceLevel": GLib.Variant("i", -15)}[name]

    def on_call(self, _connection, sender, _path, _interface, _method, parameters, invocation):
        thread, priority = parameters.unpack()
        answer = self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                    "GetConnectionUnixProcessID", GLib.Variant("(s)", [sender]), None, Gio.DBusCallFlags.NONE, -1, None)
        pid = answer.unpack()[0]
        name = pathlib.Path(f"/proc/{pid}/task/{thread}/comm").read_text().strip()
        limits = limits_of(pid)
        granted = self.grant(thread, priority, limits)
        say(thread=name, priority=priority, limits=limits, granted=granted)
        if self.arguments.silent:
            return
        if granted:
            invocation.return_value(None)
        else:
            invocation.return_dbus_error("org.freedesktop.DBus.Error.AccessDenied", "not granted")

    def grant(self, thread, priority, limits):
        if self.arguments.refuse or self.arguments.silent or not 1 <= priority <= self.arguments.priority:
            return False
        if limits[1] is None or limits[1] > self.arguments.rttime:
            return False
        os.sched_setscheduler(thread, os.SCHED_RR | os.SCHED_RESET_ON_FORK, os.sched_param(priority))
        return True


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bus")
    parser.add_argument("--priority", type=int, default=20)
    parser.add_argument("--rttime", type=int, default=200000)
    parser.add_argument("--refuse", action="store_true")
    parser.add_argument("--silent", action="store_true")
    service = Service(parser.parse_args())
    assert service
    GLib.MainLoop().run()


main()
