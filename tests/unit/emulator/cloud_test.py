"""The virtual cloud service, by plain sockets."""

import http.client
import json
import pathlib
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest

SERVICE = pathlib.Path(__file__).resolve().parents[3] / "emulator/cloud/vexo_cloud.py"
IDENTITY = "/vexo/pc/get/trackId"
EVENTS = "/vexo/pc/save/operation"
WAIT_SECONDS = 20


class Service:
    """A running service and its commands."""

    def __init__(self, *options):
        self.process = subprocess.Popen([sys.executable, str(SERVICE), *options], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.port = json.loads(self.process.stdout.readline())["port"]

    def say(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        return self.process.wait(WAIT_SECONDS)


class CloudTestCase(unittest.TestCase):
    options = ()

    def setUp(self):
        self.service = Service(*self.options)
        self.addCleanup(self.service.process.wait, WAIT_SECONDS)
        self.addCleanup(self.service.process.stdout.close)
        self.addCleanup(self.service.process.stdin.close)

    def ask(self, path, body=None, method=None, host=None):
        """Status, headers and body of an answer."""
        link = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=WAIT_SECONDS)
        try:
            link.request(method or ("POST" if body is not None else "GET"), (host or "") + path,
                         json.dumps(body) if body is not None else None, {"token": "token"})
            reply = link.getresponse()
            return reply.status, dict(reply.getheaders()), reply.read()
        finally:
            link.close()

    def value(self, path, body=None):
        return json.loads(self.ask(path, body)[2])

    def say(self, line):
        answer = self.service.say(line)
        self.assertTrue(answer["ok"], answer)
        return answer

    def raw(self, path):
        """Every byte that comes for a GET until the end of the connection."""
        with socket.create_connection(("127.0.0.1", self.service.port), WAIT_SECONDS) as link:
            link.sendall(f"GET {path} HTTP/1.1\r\nHost: x\r\n\r\n".encode())
            received = b""
            while piece := link.recv(65536):
                received += piece
            return received


class GoodService(CloudTestCase):
    def test_each_identity_is_new(self):
        first, second = self.value(IDENTITY), self.value(IDENTITY)
        self.assertEqual(first["code"], 0)
        self.assertRegex(first["data"], r"^\d{20}$")
        self.assertNotEqual(first["data"], second["data"])

    def test_reports_are_taken(self):
        for path in ("/vexo/pc/track", "/vexo/pc/save/connect", "/vexo/pc/save/connectTime", EVENTS):
            self.assertEqual(self.value(path, {})["code"], 0)

    def test_nothing_is_offered_until_it_is_told_to(self):
        self.assertEqual(self.value("/vexo/pc/update/software", {})["data"]["upgradeFlag"], 0)
        self.assertEqual(self.value("/vexo/pc/getFirmware", {})["data"]["isUpgrade"], "0")
        self.say("offer app /files/a.exe")
        self.say("offer firmware /files/b.bin V9.99")
        offer = self.value("/vexo/pc/update/software", {})["data"]
        self.assertEqual((offer["upgradeFlag"], offer["upgradeDate"]["fileUrl"]), (1, "/files/a.exe"))
        offer = self.value("/vexo/pc/getFirmware", {})["data"]
        self.assertEqual((offer["isUpgrade"], offer["newVersion"]["filePath"], offer["newVersion"]["firmwareVersion"]),
                         ("1", "/files/b.bin", "V9.99"))

    def test_other_paths_are_not_there(self):
        self.assertEqual(self.ask("/other")[0], 404)

    def test_a_file_is_the_same_for_the_same_seed(self):
        told = self.say("file a.bin 100000 7")
        self.assertEqual(told["path"], "/files/a.bin")
        content = self.ask("/files/a.bin")[2]
        self.assertEqual(len(content), 100000)
        self.assertEqual(self.say("file a.bin 100000 7")["sha256"], told["sha256"])
        self.assertNotEqual(self.say("file a.bin 100000 8")["sha256"], told["sha256"])


class Recording(CloudTestCase):
    def test_requests_are_recorded_whole(self):
        self.ask(EVENTS + "?q=1", [{"id": 1, "eventValue": "静音"}])
        self.assertTrue(self.say(f"wait {EVENTS} 1")["came"])
        request, = self.say(f"requests {EVENTS}")["requests"]
        self.assertEqual((request["method"], request["path"], request["query"]), ("POST", EVENTS, "q=1"))
        self.assertEqual(request["headers"]["token"], "token")
        self.assertEqual(request["json"], [{"id": 1, "eventValue": "静音"}])

    def test_every_byte_is_recorded(self):
        with tempfile.TemporaryDirectory() as folder:
            self.ask("/other?name=secret")
            told = self.say(f"bytes {folder}/bytes")
            content = pathlib.Path(folder, "bytes").read_bytes()
        self.assertEqual(len(content), told["bytes"])
        self.assertIn(b"GET /other?name=secret HTTP/1.1", content)
        self.assertTrue(self.say("holds name=secret")["holds"])
        self.assertFalse(self.say("holds other=secret")["holds"])

    def test_as_a_proxy_it_gets_the_requests_of_any_host(self):
        self.assertEqual(self.ask("/x", host="http://service.example:80")[0], 404)
        request, = self.say("requests /x")["requests"]
        self.assertEqual(request["headers"]["host"].split(":")[0], "service.example")

    def test_a_wait_for_what_does_not_come_ends(self):
        self.assertFalse(self.say("wait /x 1 0.01")["came"])

    def test_clear_forgets_requests_scripts_and_offers(self):
        self.say("offer app /a")
        self.say(f"script {IDENTITY} code 7")
        self.ask(IDENTITY)
        self.say("clear")
        self.assertEqual(self.say("requests")["requests"], [])
        self.assertEqual(self.value(IDENTITY)["code"], 0)
        self.assertEqual(self.value("/vexo/pc/update/software", {})["data"]["upgradeFlag"], 0)


class Scripts(CloudTestCase):
    def test_answers_of_every_kind(self):
        bodies = {"malformed": b'{"code":0,', "array": b"[]", "empty": b"", "scalar": b"42", "null": b"null"}
        for word, body in bodies.items():
            with self.subTest(word):
                self.say(f"script {EVENTS} {word}")
                self.assertEqual(self.ask(EVENTS, {})[2], body)

    def test_codes_and_statuses(self):
        self.say(f"script {EVENTS} code 7")
        self.assertEqual(self.value(EVENTS, {})["code"], 7)
        self.say(f"script {EVENTS} status 503")
        self.assertEqual(self.ask(EVENTS, {})[0], 503)
        self.say(f"script {EVENTS}")
        self.assertEqual(self.value(EVENTS, {})["code"], 0)

    def test_a_reply_is_any_json(self):
        self.say(f'reply {EVENTS} {{"code": 0, "data": [1, "a b"]}}')
        self.assertEqual(self.value(EVENTS, {}), {"code": 0, "data": [1, "a b"]})

    def test_redirects_and_chunks(self):
        self.say("script /x redirect http://other.example/y")
        status, headers, _ = self.ask("/x")
        self.assertEqual((status, headers["Location"]), (302, "http://other.example/y"))
        self.say(f"script {IDENTITY} chunked")
        status, headers, body = self.ask(IDENTITY)
        self.assertEqual(headers["Transfer-Encoding"], "chunked")
        self.assertEqual(json.loads(body)["code"], 0)

    def test_slow_answers_arrive(self):
        self.say(f"script {IDENTITY} slow 20")
        self.assertEqual(self.value(IDENTITY)["code"], 0)
        self.say(f"script {IDENTITY} drip 10 1")
        self.assertEqual(self.value(IDENTITY)["code"], 0)

    def test_bodies_are_cut_and_lengths_are_wrong(self):
        self.say("file a 1000")
        self.say("script /files/a cut 10")
        head, body = self.raw("/files/a").split(b"\r\n\r\n", 1)
        self.assertIn(b"Content-Length: 1000", head)
        self.assertEqual(len(body), 10)
        self.say("script /files/a length 5000")
        head, body = self.raw("/files/a").split(b"\r\n\r\n", 1)
        self.assertIn(b"Content-Length: 5000", head)
        self.assertEqual(len(body), 1000)

    def test_a_long_header_comes_to_its_end(self):
        self.say("script /x header 300000")
        self.say("script /y reset")
        with socket.create_connection(("127.0.0.1", self.service.port), WAIT_SECONDS) as link:
            link.sendall(b"GET /x HTTP/1.1\r\n\r\n")
            received = b""
            while not received.endswith(b"\r\n\r\n{}"):
                received += link.recv(65536)
        self.assertGreater(len(received), 300000)

    def test_a_reset_and_silence(self):
        self.say("script /x reset")
        with self.assertRaises((ConnectionError, http.client.BadStatusLine)):
            self.ask("/x")
        self.say("script /y silent")
        with socket.create_connection(("127.0.0.1", self.service.port), 0.1) as link:
            link.sendall(b"GET /y HTTP/1.1\r\n\r\n")
            self.assertTrue(self.say("wait /y 1")["came"])
            with self.assertRaises(TimeoutError):
                link.recv(1)

    def test_an_endless_body_goes_on_until_the_client_leaves(self):
        self.say("script /x endless")
        with socket.create_connection(("127.0.0.1", self.service.port), WAIT_SECONDS) as link:
            link.sendall(b"GET /x HTTP/1.1\r\n\r\n")
            count = 0
            while count < 10_000_000:
                count += len(link.recv(1 << 20))
        self.assertEqual(self.value(IDENTITY)["code"], 0)

    def test_a_deaf_service_accepts_and_says_nothing(self):
        self.say("deaf on")
        with socket.create_connection(("127.0.0.1", self.service.port), 0.1) as link:
            link.sendall(b"GET /y HTTP/1.1\r\n\r\n")
            with self.assertRaises(TimeoutError):
                link.recv(1)
        self.say("deaf off")
        self.assertEqual(self.value(IDENTITY)["code"], 0)

    def test_a_script_of_all_paths(self):
        self.say("script * status 500")
        self.assertEqual(self.ask(IDENTITY)[0], 500)
        self.assertEqual(self.ask("/any")[0], 500)


class BadInput(CloudTestCase):
    def test_wrong_commands_are_refused(self):
        for line in ("", "dance", "script", "script /x dance", "script /x code", "file a", "file a b", "reply /x {",
                     "offer lunch /a", "wait /x"):
            with self.subTest(line):
                self.assertFalse(self.service.say(line)["ok"])

    def test_wrong_requests_end_their_connection_only(self):
        for data in (b"\r\n\r\n", b"GET\r\n\r\n", b"GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
                     b"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n", b"\x16\x03\x01garbage"):
            with self.subTest(data), socket.create_connection(("127.0.0.1", self.service.port), WAIT_SECONDS) as link:
                link.sendall(data)
                try:
                    self.assertEqual(link.recv(1), b"")
                except ConnectionError:
                    pass
        self.assertEqual(self.value(IDENTITY)["code"], 0)

    def test_the_end_of_the_input_ends_the_service(self):
        service = Service()
        service.say("script * silent")
        with socket.create_connection(("127.0.0.1", service.port), WAIT_SECONDS) as link:
            link.sendall(b"GET / HTTP/1.1\r\n\r\n")
            self.assertEqual(service.end(), 0)


class Demo(CloudTestCase):
    def test_both_updates_are_offered_with_their_files(self):
        service = Service("--demo")
        self.addCleanup(service.end)
        self.service, plain = service, self.service
        self.addCleanup(setattr, self, "service", plain)
        url = self.value("/vexo/pc/update/software", {})["data"]["upgradeDate"]["fileUrl"]
        self.assertTrue(self.value("/vexo/pc/getFirmware", {})["data"]["newVersion"]["filePath"])
        service.say(f"script {url} ok")
        self.assertEqual(len(self.ask(url)[2]), 20 << 20)


@unittest.skipUnless(shutil.which("openssl"), "there is no openssl to make a certificate")
class Tls(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.certificate, self.key = (str(pathlib.Path(folder.name, name)) for name in ("certificate", "key"))
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=s.example",
                        "-addext", "subjectAltName=DNS:s.example", "-keyout", self.key, "-out", self.certificate],
                       check=True, capture_output=True)
        self.service = Service("--certificate", self.certificate, "--key", self.key)
        self.addCleanup(self.service.end)

    def test_behind_connect_it_speaks_tls(self):
        link = http.client.HTTPSConnection("127.0.0.1", self.service.port, timeout=WAIT_SECONDS,
                                           context=ssl.create_default_context(cafile=self.certificate))
        link.set_tunnel("s.example", 443)
        link.request("GET", IDENTITY)
        self.assertEqual(json.loads(link.getresponse().read())["code"], 0)
        link.close()
        self.assertEqual(len(self.service.say(f"requests {IDENTITY}")["requests"]), 1)


if __name__ == "__main__":
    unittest.main()
