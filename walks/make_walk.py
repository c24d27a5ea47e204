#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the sample walk: ten minutes through an old town that does not exist.

old-town.json     the network: its places and their beacons, as the development service reads it
old-town.btsnoop  what a phone's radio hears on the walk (btsnoop, Linux monitor)
old-town.gpx      where the phone is meanwhile

It writes them into its own folder, unless another is named; always the same bytes.
"""
import argparse
import json
import math
import pathlib
import random
import struct
from datetime import datetime, timedelta, timezone

NETWORK = bytes.fromhex("5c8e3d7a41b24f609e0b27d1a6c4f385")
START = datetime(2026, 5, 9, 10, 0, tzinfo=timezone.utc)
SECONDS = 600
ORIGIN = (41.65210, -4.72850)  # latitude and longitude of the walk's first step
METRES_PER_DEGREE = 111_320.0

# The walk's corners in metres east and north of the origin; walked at an even pace.
ROUTE = [(0, 0), (90, 10), (150, 60), (150, 160), (230, 190), (300, 170), (340, 100), (420, 90), (470, 140)]

# Each place: name, category, address, and its beacons: east, north, name, where, accessibility.
PLACES = [
    ("Puerta del Río", "monumento", "Calle del Puente, 1", [
        (8, 4, "Puerta del Río", "Bajo el arco, lado derecho",
         "Paso llano de dos metros; empedrado irregular durante 10 m.")]),
    ("Panadería La Espiga", "comercio", "Calle del Puente, 12", [
        (48, 10, "Panadería La Espiga", "Junto a la puerta, a la izquierda",
         "Un escalón de 12 cm; el timbre está a la altura de la mano derecha.")]),
    ("Farmacia Peña", "salud", "Calle del Puente, 20", [
        (86, 16, "Farmacia Peña", "Esquina con la plaza", "Entrada a nivel; puerta automática.")]),
    ("Plaza Mayor", "plaza", "Plaza Mayor", [
        (120, 30, "Plaza Mayor, entrada sur", "Primer soporte de los soportales",
         "Pavimento táctil hasta la fuente."),
        (156, 62, "Plaza Mayor, fuente", "Borde de la fuente",
         "Cuidado: bordillo de 30 cm alrededor del agua.")]),
    ("Ayuntamiento", "administración", "Plaza Mayor, 1", [
        (142, 100, "Ayuntamiento", "Puerta principal, columna derecha",
         "Cinco escalones con barandilla; rampa a la vuelta, 15 m a la derecha.")]),
    ("Iglesia de San Ginés", "monumento", "Calle Niño Jesús, 3", [
        (156, 142, "Iglesia de San Ginés", "Pórtico norte", "Puerta pesada; dos escalones hacia abajo.")]),
    ("Oficina de Turismo", "información", "Calle Niño Jesús, 9", [
        (182, 176, "Oficina de Turismo", "Mostrador, 3 m tras la puerta",
         "Entrada a nivel; plano en relieve en el mostrador.")]),
    ("Mercado de Abastos", "comercio", "Calle de la Leña, 2", [
        (228, 196, "Mercado, puerta oeste", "Puerta corredera", "Rampa suave; suelo mojado a menudo."),
        (262, 178, "Mercado, puerta este", "Salida hacia la calle de la Leña",
         "Tres escalones; barandilla a la izquierda.")]),
    ("Biblioteca Begoña Güell", "cultura", "Calle de la Leña, 15", [
        (304, 164, "Biblioteca Begoña Güell", "Vestíbulo", "Puerta giratoria; use la puerta de la derecha.")]),
    ("Parada de autobús «El Moñigo»", "transporte", "Ronda del Este", [
        (334, 118, "Parada El Moñigo, líneas 2 y 7", "Marquesina", "Botón de voz en el poste, a 1,10 m.")]),
    ("Museo del Reloj", "cultura", "Ronda del Este, 8", [
        (382, 88, "Museo del Reloj", "Taquilla", "Ascensor tras la taquilla; audioguía gratuita.")]),
    ("Estación de tren", "transporte", "Avenida de la Estación", [
        (424, 96, "Estación, vestíbulo", "Puerta central", "Pavimento táctil hasta los andenes."),
        (466, 134, "Estación, andén 1", "Inicio del andén", "Borde del andén señalado con botones.")]),
]

# Others on the air: east, north, proximity UUID, major, minor.
STRANGERS = [
    (60, 0, bytes.fromhex("0f1e2d3c4b5a69788796a5b4c3d2e1f0"), 1, 1),
    (170, 120, bytes.fromhex("a1b2c3d4e5f60718293a4b5c6d7e8f90"), 1, 3),
    (360, 96, bytes.fromhex("11111111222233334444555555555555"), 2, 2),
    (200, 184, NETWORK, 9, 999),  # one of the network's, which the service does not know
    (300, 150, NETWORK, 65535, 65535),  # one that was never given an identity
]

MEASURED_POWER = -59  # dBm at one metre
PATH_LOSS_EXPONENT = 2.5
NOISE = 4.0  # dB
FAINTEST = -94  # dBm that the radio hears
FRAME_EVERY = 0.35  # seconds
ADDRESS_EVERY = 240.0  # seconds


def degrees(east, north):
    latitude = ORIGIN[0] + north / METRES_PER_DEGREE
    longitude = ORIGIN[1] + east / (METRES_PER_DEGREE * math.cos(math.radians(ORIGIN[0])))
    return round(latitude, 6), round(longitude, 6)


def network():
    places, minor = [], 0
    for number, (name, category, address, beacons) in enumerate(PLACES, 1):
        listed = []
        for east, north, beacon_name, location, accessibility in beacons:
            minor += 1
            latitude, longitude = degrees(east, north)
            listed.append({
                "uuid": f"old-town-{minor:04}", "major": 1, "minor": minor, "name": beacon_name,
                "latitude": latitude, "longitude": longitude, "location": location,
                "accesibility": accessibility, "url": f"https://old-town.example/{minor}",
                "payload": {"floor": 0}})
        latitude, longitude = degrees(*beacons[0][:2])
        places.append({
            "name": name, "city": "Villavieja de la Peña", "category": category, "address": address,
            "phone": f"+34 983 555 {number:03}", "web": "https://old-town.example/",
            "email": f"lugar{number}@old-town.example", "zip": 47001,
            "latitude": latitude, "longitude": longitude, "beacons": listed})
    return {"places": places}


def position(second):
    """Where the walk is, metres east and north."""
    legs = [math.dist(a, b) for a, b in zip(ROUTE, ROUTE[1:])]
    left = sum(legs) * min(1.0, second / SECONDS)
    for (a, b), length in zip(zip(ROUTE, ROUTE[1:]), legs):
        if left <= length:
            return tuple(p + (q - p) * left / length for p, q in zip(a, b))
        left -= length
    return ROUTE[-1]


def transmitters():
    minor = 0
    for _, _, _, beacons in PLACES:
        for east, north, *_ in beacons:
            minor += 1
            yield east, north, NETWORK, 1, minor
    yield from STRANGERS


def report(address, uuid, major, minor, rssi):
    """An LE advertising report event with one iBeacon frame."""
    frame = b"\x4c\x00\x02\x15" + uuid + struct.pack(">HHb", major, minor, MEASURED_POWER)
    data = b"\x02\x01\x06" + bytes([len(frame) + 1, 0xFF]) + frame
    body = b"\x02\x01\x03\x01" + address + bytes([len(data)]) + data + struct.pack("b", rssi)
    return b"\x3e" + bytes([len(body)]) + body


def heard(chance):
    """Every frame that the radio hears: second and event, by time."""
    frames = []
    for east, north, uuid, major, minor in transmitters():
        second, next_address, address = chance.random(), 0.0, b""
        while second < SECONDS:
            if second >= next_address:
                next_address = second + ADDRESS_EVERY
                address = bytes(chance.randrange(256) for _ in range(5)) + bytes([0xC0 | chance.randrange(64)])
            distance = max(0.5, math.dist(position(second), (east, north)))
            loss = 10 * PATH_LOSS_EXPONENT * math.log10(distance)
            rssi = round(MEASURED_POWER - loss + chance.gauss(0, NOISE))
            if rssi >= FAINTEST:
                frames.append((second, report(address, uuid, major, minor, min(rssi, -20))))
            second += FRAME_EVERY + chance.random() * 0.01
    return sorted(frames)


def btsnoop(frames):
    out = [b"btsnoop\0" + struct.pack(">II", 1, 2001)]
    epoch = 0x00DCDDB30F2F8000 + int(START.timestamp()) * 1_000_000
    for second, event in frames:
        flags = 3  # an event, of adapter 0
        time = epoch + round(second * 1_000_000)
        out.append(struct.pack(">IIIIQ", len(event), len(event), flags, 0, time) + event)
    return b"".join(out)


def gpx(chance):
    points = []
    for second in range(0, SECONDS + 1, 5):
        east, north = position(second)
        latitude, longitude = degrees(east + chance.gauss(0, 1.5), north + chance.gauss(0, 1.5))
        time = (START + timedelta(seconds=second)).strftime("%Y-%m-%dT%H:%M:%SZ")
        points.append(f'      <trkpt lat="{latitude:.6f}" lon="{longitude:.6f}"><time>{time}</time>'
                      f"<hdop>{chance.uniform(0.8, 2.0):.1f}</hdop></trkpt>\n")
    return ('<?xml version="1.0" encoding="UTF-8"?>\n'
            '<gpx version="1.1" creator="make_walk.py" xmlns="http://www.topografix.com/GPX/1/1">\n'
            "  <trk>\n    <name>Old town</name>\n    <trkseg>\n"
            + "".join(points) + "    </trkseg>\n  </trk>\n</gpx>\n")


parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("folder", nargs="?", type=pathlib.Path, default=pathlib.Path(__file__).parent)
folder = parser.parse_args().folder
chance = random.Random(20260509)
try:
    (folder / "old-town.json").write_text(
        json.dumps(network(), ensure_ascii=False, indent=1) + "\n", encoding="utf-8")
    (folder / "old-town.btsnoop").write_bytes(btsnoop(heard(chance)))
    (folder / "old-town.gpx").write_text(gpx(chance), encoding="utf-8")
except OSError as fault:
    parser.error(str(fault))
