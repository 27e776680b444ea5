"""A session manager of the X session protocol, as desktops have one: it asks its clients to save themselves and to end.

    with SessionManager() as manager:
        program = stage.start_program(environment={"SESSION_MANAGER": manager.address})
        manager.wait_client()
        manager.save_all()
        manager.end_all()

libSM and libICE do the talking. Everything happens in the calls of this object.
"""

import ctypes
import select

from stage import wait_until

SAVE_LOCAL, SAVE_BOTH = 1, 2
NO_INTERACTION = 0

NEW_CLIENT = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(ctypes.c_ulong),
                              ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_void_p))
IO_ERROR = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
HOST_CHECK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_char_p)
# All callbacks of a client begin with the connection and a pointer of one's own.
CALLBACK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p)
# In the order of SmsCallbacks, each followed by that pointer.
CALLBACKS = ("register", "interact_request", "interact_done", "save_request", "phase2_request", "saved", "closed",
             "set_properties", "delete_properties", "get_properties")


class SessionManager:
    def __init__(self):
        self.ice, self.sm = ctypes.CDLL("libICE.so.6"), ctypes.CDLL("libSM.so.6")
        for library, name in ((self.ice, "IceAcceptConnection"), (self.ice, "IceComposeNetworkIdList"),
                              (self.sm, "SmsGenerateClientID")):
            getattr(library, name).restype = ctypes.c_void_p
        self.clients, self.answers = [], 0
        self.connections = []
        self.callbacks = {name: CALLBACK(getattr(self, "_" + name, self._nothing)) for name in CALLBACKS}
        # The library's own handler of a lost connection ends the process.
        self.io_error = IO_ERROR(lambda _: None)
        self.ice.IceSetIOErrorHandler(self.io_error)
        self.new_client, self.host_check = NEW_CLIENT(self._new_client), HOST_CHECK(lambda _: 1)

    def __enter__(self):
        error = ctypes.create_string_buffer(256)
        if not self.sm.SmsInitialize(b"vexo", b"1", self.new_client, None, self.host_check, len(error), error):
            raise RuntimeError(error.value)
        count, listeners = ctypes.c_int(), ctypes.c_void_p()
        if not self.ice.IceListenForConnections(ctypes.byref(count), ctypes.byref(listeners), len(error), error):
            raise RuntimeError(error.value)
        self.count, self.list = count, listeners
        self.listeners = [ctypes.c_void_p(entry) for entry in (ctypes.c_void_p * count.value).from_address(listeners.value)]
        for listener in self.listeners:
            self.ice.IceSetHostBasedAuthProc(listener, self.host_check)
        self.address = ctypes.string_at(self.ice.IceComposeNetworkIdList(count, listeners)).decode()
        return self

    def __exit__(self, *_):
        for connection in self.connections:
            self.ice.IceSetShutdownNegotiation(connection, 0)
            self.ice.IceCloseConnection(connection)
        self.ice.IceFreeListenObjs(self.count, self.list)

    # ---- what a session does

    def wait_client(self):
        """Until a program has introduced itself and answered the first question that every newcomer gets."""
        self._wait(lambda: self.clients and self.answers, "a client of the session")

    def save_all(self):
        """The session is about to end: all clients save themselves. Returns when they have."""
        wanted = self.answers + len(self.clients)
        for client in self.clients:
            self.sm.SmsSaveYourself(client, SAVE_BOTH, 1, NO_INTERACTION, 0)
        self._wait(lambda: self.answers >= wanted, "the clients saved")

    def end_all(self):
        for client in self.clients:
            self.sm.SmsDie(client)

    # ---- the protocol

    def _wait(self, condition, what):
        wait_until(lambda: self._pump() or condition(), what)

    def _pump(self):
        """Hears what has come."""
        for listener in self.listeners:
            if self._readable(self.ice.IceGetListenConnectionNumber(listener)):
                status = ctypes.c_int()
                connection = self.ice.IceAcceptConnection(listener, ctypes.byref(status))
                if connection:
                    self.connections.append(ctypes.c_void_p(connection))
        for connection in list(self.connections):
            while connection in self.connections and self._readable(self.ice.IceConnectionNumber(connection)):
                if self.ice.IceProcessMessages(connection, None, None) != 0:
                    self.connections.remove(connection)

    @staticmethod
    def _readable(descriptor):
        return bool(select.select([descriptor], [], [], 0)[0])

    def _new_client(self, client, _, mask, callbacks, __):
        mask[0] = (1 << len(CALLBACKS)) - 1
        for place, name in enumerate(CALLBACKS):
            callbacks[2 * place] = ctypes.cast(self.callbacks[name], ctypes.c_void_p)
            callbacks[2 * place + 1] = None
        return 1

    def _register(self, client, _, former_id):
        client = ctypes.c_void_p(client)
        if former_id:
            return 0
        self.sm.SmsRegisterClientReply(client, ctypes.c_void_p(self.sm.SmsGenerateClientID(client)))
        self.clients.append(client)
        self.sm.SmsSaveYourself(client, SAVE_LOCAL, 0, NO_INTERACTION, 0)
        return 1

    def _saved(self, client, *_):
        self.answers += 1
        self.sm.SmsSaveComplete(ctypes.c_void_p(client))
        return 1

    @staticmethod
    def _nothing(*_):
        return 0
