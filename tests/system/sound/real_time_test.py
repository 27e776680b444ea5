"""Real-time scheduling for an account that may not ask the kernel for it: by a scripted RealtimeKit on a private bus."""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import time

import numpy

from bridge_host import BridgeHost, source
from sound import PIPEWIRE, level_db, tone
from sound_case import APPS, BUILD, SPEAKERS, SoundCase, main
from stage import wait_until

ACCOUNT = "nobody"  # a bus takes only accounts that the system knows
SOUND_THREADS = {"SoundServer", "Mixer solo", "Mixer bus 2", "Capture"}
PACKETS_THREAD = "data-loop.0"  # of PipeWire's library
# How long libdbus waits for an answer: who asks it is held up that long.
MESSAGE_BUS_SECONDS = 25
RTTIME_US = 200000
PRIORITY = 5
TONE = 1000
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
# A bus that takes everybody.
BUS = """<busconfig><type>system</type><listen>unix:path={path}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_type="method_call"/><allow send_destination="*"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/><allow receive_type="error"/></policy></busconfig>"""


def root_may_grant():
    script = f"import os\nos.sched_setscheduler(0, os.SCHED_RR, os.sched_param({PRIORITY}))"
    return os.geteuid() == 0 and subprocess.run([sys.executable, "-c", script], capture_output=True).returncode == 0


class RealTime(SoundCase):
    def setUp(self):
        if not root_may_grant():
            self.skipTest("takes root's right to be another account, and to grant it real time")
        super().setUp()
        for path, mode in ((self.folder, 0o755), (self.sound.runtime, 0o755), (self.sound.runtime / "pulse", 0o755),
                           (self.sound.runtime / "pulse" / "native", 0o777)):
            path.chmod(mode)
        if self.kind == PIPEWIRE:
            (self.sound.runtime / "pipewire-0").chmod(0o777)
        # The build folder may be closed to other accounts.
        self.host = self.folder / "bridge-host"
        shutil.copy(BUILD / "tests" / "system" / "vexo_bridge_host", self.host)
        self.host.chmod(0o755)

    def start_process(self, command, **words):
        process = subprocess.Popen([str(word) for word in command], **words)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        if process.stdout is not None:
            self.addCleanup(process.stdout.close)
        return process

    def start_message_bus(self):
        path = self.folder / "system-bus"
        configuration = self.folder / "system-bus.conf"
        configuration.write_text(BUS.format(path=path))
        bus = self.start_process(["dbus-daemon", f"--config-file={configuration}", "--nofork", "--print-address=1"],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        path.chmod(0o777)

    def start_service(self, *words):
        self.start_message_bus()
        self.answers = self.folder / "realtime-kit"
        with open(self.answers, "w") as answers:
            self.start_process([sys.executable, pathlib.Path(__file__).with_name("realtime_kit.py"),
                                self.env["DBUS_SYSTEM_BUS_ADDRESS"], *words], stdout=answers)
        wait_until(lambda: self.said_by_service() == [{"ready": True}], "the service")

    def said_by_service(self):
        return [json.loads(line) for line in self.answers.read_text().splitlines()]

    def wait_requests(self):
        """One request of each thread of the sound."""
        wait_until(lambda: len(self.said_by_service()) > len(SOUND_THREADS), f"requests for {SOUND_THREADS}")
        requests = self.said_by_service()[1:]
        self.assertEqual({request["thread"] for request in requests}, SOUND_THREADS)
        return requests

    def start_ordinary_bridge(self):
        bridge = BridgeHost(self.host, self.env, self.folder / "bridge.log", ACCOUNT)
        self.bridges.append(bridge)
        self.addCleanup(bridge.kill)
        return bridge

    def threads(self, bridge):
        """The numbers of the bridge's threads by their name."""
        found = {}
        for task in pathlib.Path(f"/proc/{bridge.pid}/task").iterdir():
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):  # one that has just ended
                found[(task / "comm").read_text().strip()] = int(task.name)
        return found

    def limits(self, bridge):
        """The soft and the hard limit on real time, in microseconds."""
        line = next(line for line in pathlib.Path(f"/proc/{bridge.pid}/limits").read_text().splitlines()
                    if line.startswith("Max realtime timeout"))
        return [int(word) for word in line.split()[3:5]]

    def policies(self, bridge):
        """Policy and priority of the threads of the sound."""
        threads = self.threads(bridge)
        return {(os.sched_getscheduler(threads[name]) & ~os.SCHED_RESET_ON_FORK, os.sched_getparam(threads[name]).sched_priority)
                for name in SOUND_THREADS if name in threads}

    def wait_heard_tone(self, bridge):
        player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        bridge.route(source(player.pid))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        self.wait_heard(speakers, lambda heard: abs(level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")
        self.assertEqual(PACKETS_THREAD in self.threads(bridge), self.kind == PIPEWIRE)

    def test_threads_of_the_sound_get_it_within_the_limits_that_the_service_demands(self):
        self.start_service()
        bridge = self.start_ordinary_bridge()
        for request in self.wait_requests():
            self.assertEqual((request["priority"], request["granted"]), (PRIORITY, True), request)
            soft, hard = request["limits"]
            self.assertLessEqual(hard, RTTIME_US)
            # There is time to become ordinary before the kernel ends the process.
            self.assertLess(soft, hard)
        wait_until(lambda: self.policies(bridge) == {(os.SCHED_RR, PRIORITY)}, "real time for all threads of the sound")
        self.assertEqual(os.sched_getscheduler(bridge.pid), os.SCHED_OTHER)
        wait_until(lambda: "RealtimeKit" not in self.threads(bridge), "the questions to end")
        self.wait_heard_tone(bridge)
        self.assertEqual(bridge.end(), 0)

    def test_thread_of_pipewires_packets_gets_it_and_the_limits_stay(self):
        if self.kind != PIPEWIRE:
            self.skipTest("PulseAudio's packets come on the thread of the sound server")
        self.start_service()
        bridge = self.start_ordinary_bridge()
        self.wait_requests()
        self.wait_heard_tone(bridge)
        wait_until(lambda: self.said_by_service()[-1].get("thread") == PACKETS_THREAD, "the request of the packets' thread")
        request = self.said_by_service()[-1]
        self.assertEqual((request["priority"], request["granted"]), (PRIORITY, True), request)
        wait_until(lambda: os.sched_getscheduler(self.threads(bridge)[PACKETS_THREAD]) & ~os.SCHED_RESET_ON_FORK == os.SCHED_RR,
                   "real time for the packets' thread")
        self.assertEqual(self.limits(bridge), [RTTIME_US // 2, RTTIME_US])
        self.assertEqual(bridge.end(), 0)

    def test_lower_limits_of_the_service_are_kept(self):
        self.start_service("--priority", "3", "--rttime", "50000")
        bridge = self.start_ordinary_bridge()
        for request in self.wait_requests():
            self.assertEqual((request["priority"], request["granted"]), (3, True), request)
            self.assertLessEqual(request["limits"][1], 50000)
        wait_until(lambda: self.policies(bridge) == {(os.SCHED_RR, 3)}, "real time for all threads of the sound")

    def test_thread_that_takes_too_long_makes_all_ordinary_and_the_process_lives(self):
        self.start_service()
        bridge = self.start_ordinary_bridge()
        self.wait_requests()
        wait_until(lambda: self.policies(bridge) == {(os.SCHED_RR, PRIORITY)}, "real time for all threads of the sound")
        # The kernel's signal at the soft limit.
        bridge.process.send_signal(signal.SIGXCPU)
        wait_until(lambda: self.policies(bridge) == {(os.SCHED_OTHER, 0)}, "ordinary threads")
        self.wait_heard_tone(bridge)
        self.assertEqual(bridge.end(), 0)

    def test_refusal_changes_nothing(self):
        self.start_service("--refuse")
        bridge = self.start_ordinary_bridge()
        self.wait_requests()
        wait_until(lambda: "RealtimeKit" not in self.threads(bridge), "the questions to end")
        self.assertEqual(self.policies(bridge), {(os.SCHED_OTHER, 0)})
        self.wait_heard_tone(bridge)
        self.assertEqual(bridge.end(), 0)

    def test_silent_service_holds_nothing_up(self):
        self.start_service("--silent")
        bridge = self.start_ordinary_bridge()
        self.wait_requests()
        # The start is over while the questions are open.
        self.assertIn("RealtimeKit", self.threads(bridge))
        self.wait_heard_tone(bridge)
        self.assertEqual(bridge.end(), 0)

    def test_silent_bus_holds_nothing_up(self):
        with socket.socket(socket.AF_UNIX) as listener:
            path = self.folder / "silent-bus"
            listener.bind(str(path))
            path.chmod(0o777)
            listener.listen(50)
            self.env["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={path}"
            bridge = self.start_ordinary_bridge()
            listener.accept()[0].close()
            self.wait_heard_tone(bridge)
            self.assertEqual(bridge.end(), 0)

    def test_silent_buses_hold_up_neither_the_lists_nor_the_end(self):
        with socket.socket(socket.AF_UNIX) as listener:
            path = self.folder / "silent-bus"
            listener.bind(str(path))
            path.chmod(0o777)
            listener.listen(50)
            self.env.update(DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={path}", DBUS_SESSION_BUS_ADDRESS=f"unix:path={path}")
            began = time.monotonic()
            bridge = self.start_ordinary_bridge()
            wait_until(lambda: bridge.call("GetDeviceList"), "the devices")
            self.wait_heard_tone(bridge)
            self.assertEqual(bridge.end(), 0)
            self.assertLess(time.monotonic() - began, MESSAGE_BUS_SECONDS / 2)

    def test_service_that_is_not_there_changes_nothing(self):
        self.start_message_bus()
        bridge = self.start_ordinary_bridge()
        wait_until(lambda: "RealtimeKit" not in self.threads(bridge), "the questions to end")
        self.assertEqual(self.policies(bridge), {(os.SCHED_OTHER, 0)})
        self.wait_heard_tone(bridge)
        self.assertEqual(bridge.end(), 0)

    def test_bus_that_is_not_there_changes_nothing(self):
        bridge = self.start_ordinary_bridge()
        self.wait_heard_tone(bridge)
        self.assertEqual(self.policies(bridge), {(os.SCHED_OTHER, 0)})
        self.assertEqual(bridge.end(), 0)


if __name__ == "__main__":
    main()
