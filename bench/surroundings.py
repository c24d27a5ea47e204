"""What the benchmarks run beside: a system bus of their own with a radio on it, the development service, an HTTP/2
server, and a relay that counts."""
import contextlib
import pathlib
import re
import socket
import subprocess
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests/support"))
from programs import bus_in, wait_for  # noqa: E402


@contextlib.contextmanager
def process(command, **options):
    """A program that runs until the block ends."""
    with subprocess.Popen(command, **options) as running:
        try:
            yield running
        finally:
            running.terminate()


@contextlib.contextmanager
def radio(folder, program):
    """The environment in which the system bus is one with a radio."""
    command, address = bus_in(folder)
    environment = {"DBUS_SYSTEM_BUS_ADDRESS": address}
    with process(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as bus:
        bus.stdout.readline()
        with process([program], env=environment, stdout=subprocess.PIPE) as running:
            running.stdout.readline()
            yield environment


@contextlib.contextmanager
def service(program, network, state, *options):
    """The development service: its port, and the lines that it prints after that, complete behind the block."""
    lines = []
    with process([program, network, "--state", state, *options], stdout=subprocess.PIPE, text=True) as running:
        port = int(re.search(r":(\d+),", running.stdout.readline())[1])
        reader = threading.Thread(target=lambda: lines.extend(running.stdout))
        reader.start()
        try:
            yield port, lines
        finally:
            running.terminate()
            reader.join()


@contextlib.contextmanager
def http2_server(folder, state, reply, endpoints):
    """A server of files over HTTP/2; its port. The path of an endpoint is what the library asks for."""
    for endpoint in endpoints:
        path = pathlib.Path(folder, "files/api/v1/https:/api.brivane.example/api/v1", endpoint)
        path.mkdir(parents=True)
        (path / "index.html").write_bytes(reply)
    with socket.create_server(("127.0.0.1", 0)) as probe:
        port = probe.getsockname()[1]
    command = ["nghttpd", "-a", "127.0.0.1", "-d", f"{folder}/files", str(port), f"{state}/key.pem",
               f"{state}/certificate.pem"]
    with process(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL):
        wait_for(lambda: connects(port))
        yield port


def connects(port):
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port)) == 0


class Relay:
    """Passes connections on to a port, and counts them and their bytes."""

    def __init__(self, port):
        self.to, self.connections, self.bytes = port, 0, 0
        self.lock = threading.Lock()
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        with contextlib.suppress(OSError):
            while True:
                client = self.listener.accept()[0]
                server = socket.create_connection(("127.0.0.1", self.to))
                self.connections += 1
                for ends in (client, server), (server, client):
                    for end in ends:
                        end.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                    threading.Thread(target=self.copy, args=ends, daemon=True).start()

    def copy(self, source, sink):
        with contextlib.suppress(OSError):
            while data := source.recv(1 << 16):
                with self.lock:
                    self.bytes += len(data)
                sink.sendall(data)
            sink.shutdown(socket.SHUT_WR)
