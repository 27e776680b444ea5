"""Certificates for the virtual service, of an authority that nobody trusts who is not told to. They need the command
openssl."""

import pathlib
import subprocess

DAYS = ["-days", "30"]
KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"]


def _openssl(*words):
    subprocess.run(["openssl", *map(str, words)], check=True, capture_output=True)


class Authority:
    """An authority with its files in a folder; `certificate` is the file to trust."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.certificate = self.folder / "authority.pem"
        self.key = self.folder / "authority.key"
        _openssl("req", "-x509", *KEY, *DAYS, "-subj", "/CN=Virtual authority", "-keyout", self.key, "-out", self.certificate)

    def server(self, *hosts):
        """Certificate and key, two files, of a server of these hosts."""
        certificate, key, request = (self.folder / f"server.{kind}" for kind in ("pem", "key", "csr"))
        names = ",".join("DNS:" + host for host in hosts)
        _openssl("req", *KEY, "-subj", "/CN=Virtual service", "-addext", "subjectAltName=" + names, "-keyout", key, "-out",
                 request)
        _openssl("x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self.key, "-copy_extensions", "copy",
                 *DAYS, "-out", certificate)
        return certificate, key
