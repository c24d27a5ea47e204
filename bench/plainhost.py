"""The walk as a host without the library would resolve it: for each frame that is heard, a request. The frames come
as bleak hands them out, a device and its advertisement data.

usage: plainhost.py CAPTURE PORT CA.pem
Prints "match SECOND NAME" for each match, SECOND on the capture's clock.
"""
import http.client
import json
import ssl
import struct
import sys
import types
import urllib.parse
import uuid

HOST = "api.brivane.example"
NETWORK = uuid.UUID("5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385")
APPLE = 0x004C

# Of a capture as btmon writes it.
MONITOR_EVENT, LE_META_EVENT, ADVERTISING_REPORT = 3, 0x3E, 0x02


def frames(path):
    """What a scanner hears, with the seconds since the capture began."""
    with open(path, "rb") as file:
        capture = file.read()
    position, start = 16, None
    while position < len(capture):
        _, length, flags, _, time = struct.unpack_from(">IIIIQ", capture, position)
        packet = capture[position + 24:position + 24 + length]
        position += 24 + length
        start = time if start is None else start
        if flags & 0xFFFF != MONITOR_EVENT or packet[0] != LE_META_EVENT or packet[2] != ADVERTISING_REPORT:
            continue
        data, rssi = packet[13:13 + packet[12]], struct.unpack("b", packet[-1:])[0]
        manufacturers = {}
        while data and data[0]:
            structure, data = data[1:1 + data[0]], data[1 + data[0]:]
            if structure[0] == 0xFF:
                manufacturers[int.from_bytes(structure[1:3], "little")] = structure[3:]
        device = types.SimpleNamespace(address=":".join(f"{byte:02X}" for byte in reversed(packet[6:12])))
        yield (time - start) / 1e6, device, types.SimpleNamespace(manufacturer_data=manufacturers, rssi=rssi)


class Service:
    def __init__(self, port, ca):
        self.connection = http.client.HTTPSConnection("127.0.0.1", port, context=ssl.create_default_context(cafile=ca))
        self.headers = {}

    def post(self, endpoint, **fields):
        path = f"/api/v1/https://{HOST}/api/v1/{endpoint}"
        self.connection.request("POST", path, urllib.parse.urlencode(fields, safe="-_"), self.headers)
        return json.loads(self.connection.getresponse().read())

    def login(self):
        reply = self.post("oauth2/token/", grant_type="client_credentials", client_id="dev-key",
                          client_secret="dev-secret")
        self.headers = {"Authorization": f"Bearer {reply['access_token']}"}
        self.post("sync/", model="x86_64", installID="plain")


def main(capture, port, ca):
    service = Service(int(port), ca)
    service.login()
    for second, _, advertisement in frames(capture):
        frame = advertisement.manufacturer_data.get(APPLE, b"")
        if len(frame) != 23 or frame[:2] != b"\x02\x15" or frame[2:18] != NETWORK.bytes:
            continue
        major, minor = struct.unpack(">HH", frame[18:22])
        reply = service.post("resolve/", uuid=str(NETWORK).upper(), major=major, minor=minor, rssi=advertisement.rssi,
                             battery=-1, model="x86_64", installID="plain")
        if reply["status"]:
            print("match", second, reply["beacon"]["waybeacon"]["name"], flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
