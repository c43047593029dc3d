"""Holds this library's property lists and archives against Python's plistlib, in both directions."""

import datetime
import plistlib
import random
import subprocess
import sys
from plistlib import FMT_BINARY, FMT_XML, UID


class Tool:
    """One running helper program; calling it sends an input and returns the answer, None for a refusal."""

    def __init__(self, program, command):
        self.process = subprocess.Popen([program, command], stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def __call__(self, data):
        self.process.stdin.write(b"%d\n" % len(data) + data)
        self.process.stdin.flush()
        length = int(self.process.stdout.readline())
        return None if length < 0 else self.process.stdout.read(length)

    def close(self):
        self.process.stdin.close()
        assert self.process.wait(timeout=30) == 0, "the helper program failed"


def same(a, b):
    """Equal in kind as well as in value, which Python's == does not ask of 1, 1.0 and True."""
    if type(a) is not type(b):
        return False
    if isinstance(a, dict):
        return list(a) == list(b) and all(same(a[k], b[k]) for k in a)
    if isinstance(a, list):
        return len(a) == len(b) and all(map(same, a, b))
    if isinstance(a, float):
        return repr(a) == repr(b)
    return a == b


def check(condition, what):
    if not condition:
        sys.exit("failed: " + what)


EDGES = [0, 1, 127, 128, 255, 256, 65535, 65536, 2**31, 2**32 - 1, 2**32, 2**63 - 1, 2**63, 2**64 - 1,
         -1, -128, -129, -2**31, -2**32, -2**63]
# No 0.0 beside -0.0: plistlib stores the two as one.
REALS = [-0.0, 0.1, 1.5, -1e-300, 5e-324, 1.7976931348623157e308, float("inf"), float("-inf")]
TEXTS = ["", "a", "<&>\"'", "tab\tnewline\n", "Bay of Fundy", "Saint-Mal\u00f4", "\u6f6e\u6c50", "\U0001f30a",
         "x" * 14, "x" * 15, "x" * 255, "x" * 256, "\u00e9" * 70000]


def random_value(rng, depth, uids):
    sizes = [0, 1, 3, 14, 15, 40]
    kinds = [
        lambda: rng.choice(EDGES + [rng.randrange(-2**63, 2**64)]),
        lambda: rng.choice(REALS + [rng.uniform(-1e6, 1e6), rng.gauss(0, 1) * 10.0 ** rng.randrange(-300, 300)]),
        lambda: rng.choice(TEXTS[:-1]),
        lambda: rng.random() < 0.5,
        lambda: datetime.datetime(2001, 1, 1) + datetime.timedelta(seconds=rng.randrange(-6 * 10**10, 2 * 10**11)),
        lambda: rng.randbytes(rng.choice([0, 1, 2, 3, 14, 15, 57, 300])),
    ]
    if depth:
        kinds += 2 * [
            lambda: [random_value(rng, depth - 1, uids) for _ in range(rng.choice(sizes))],
            lambda: {key: random_value(rng, depth - 1, uids)
                     for key in rng.sample(TEXTS[:-1] + ["key %d" % i for i in range(40)], rng.choice(sizes))},
        ]
    if uids:
        kinds.append(lambda: UID(rng.choice([0, 1, 255, 256, 65535, 65536, 2**32, 2**64 - 1])))
    return rng.choice(kinds)()


def uids_as_dictionaries(value):
    """The XML form of a reference."""
    if isinstance(value, UID):
        return {"CF$UID": value.data}
    if isinstance(value, dict):
        return {key: uids_as_dictionaries(item) for key, item in value.items()}
    if isinstance(value, list):
        return [uids_as_dictionaries(item) for item in value]
    return value


def check_lists(to_binary, to_xml):
    rng = random.Random(2001)
    values = EDGES + REALS + TEXTS + [True, False, b"", b"\0\xff", [], {}, EDGES, REALS + EDGES, TEXTS, list(range(70000))]
    values += [{str(i): i for i in range(300)}, [[[]]], ["same"] * 300, [1, True, 1.0, "1", b"1"]]
    values += [random_value(rng, 3, False) for _ in range(200)]
    for number, value in enumerate(values):
        source = plistlib.dumps(value, fmt=FMT_BINARY, sort_keys=False)
        for fmt in (FMT_BINARY, FMT_XML):
            what = "value %d from %s" % (number, fmt.name)
            data = plistlib.dumps(value, fmt=fmt, sort_keys=False)
            binary, xml = to_binary(data), to_xml(data)
            check(binary is not None and xml is not None, what + " is refused")
            # The two agree on every choice the binary form leaves open, so the bytes are the same.
            check(binary == source, what + " to binary, bytes")
            check(same(plistlib.loads(xml), value), what + " to XML")
    for number in range(100):
        value = random_value(rng, 3, True)
        what = "value %d with references" % number
        data = plistlib.dumps(value, fmt=FMT_BINARY, sort_keys=False)
        check(same(plistlib.loads(to_binary(data)), value), what)
        xml = to_xml(data)
        check(same(plistlib.loads(xml), uids_as_dictionaries(value)), what + " to XML")
        check(same(plistlib.loads(to_binary(xml)), value), what + " and back")
    for text in (b"", b"no list", b"<plist/>", b"bplist00" + bytes(40)):
        check(to_binary(text) is None, "%r is accepted" % text)


STATIONS = [
    ["8418150", "8418150", "false", "43.656", "-70", "Portland", "Maine", "USA", "America/New_York", "false"],
    ["global_42", "-", "true", "48.6", "-2", "Saint-Mal\u00f4 \U0001f30a", "-", "France", "", "true"],
]
KEYS = ["StationId", "StationExtId", "IsSubordinate", "Latitude", "Longitude", "StationName", "StateId", "Country",
        "Timezone", "IsGlobal"]
VALUES = {"Latitude": float, "Longitude": float, "IsSubordinate": lambda field: 0 if field == "true" else 1,
          "IsGlobal": lambda field: field == "true"}


def lines(stations):
    return "".join("\t".join(fields) + "\n" for fields in stations).encode()


def check_archive_written(to_archive):
    archive = plistlib.loads(to_archive(lines(STATIONS)))
    objects = archive["$objects"]
    check(archive["$version"] == 100000 and archive["$archiver"] == "NSKeyedArchiver", "the head of the archive")
    check(objects[0] == "$null", "object 0 is nil")
    root = objects[archive["$top"]["root"].data]
    check(objects[root["$class"].data] == {"$classname": "NSArray", "$classes": ["NSArray", "NSObject"]}, "root class")
    check(len(root["NS.objects"]) == len(STATIONS), "number of elements")
    for uid, fields in zip(root["NS.objects"], STATIONS):
        record = objects[uid.data]
        check(list(record) == KEYS + ["$class"], "keys of the record")
        check(objects[record["$class"].data] ==
              {"$classname": "TideStation", "$classes": ["TideStation", "NSObject"]}, "class of the record")
        for key, field in zip(KEYS, fields):
            stored = record[key]
            if key in VALUES:
                expected = VALUES[key](field)
            else:
                check(isinstance(stored, UID), key + " is a reference")
                stored, expected = objects[stored.data], "$null" if field == "-" else field
            check(same(stored, expected), "field " + key)


def check_archive_read(to_stations):
    """An archive such as another writer makes: an own order, mutable classes, a subclass, strangers."""
    objects = ["$null"]

    def add(value):
        objects.append(value)
        return UID(len(objects) - 1)

    def described(*chain):
        return add({"$classname": chain[0], "$classes": list(chain)})

    mutable_string = described("NSMutableString", "NSString", "NSObject")
    station = described("PinnedStation", "TideStation", "NSObject")
    buoy = described("Buoy", "NSObject")
    elements = []
    for mutable, fields in enumerate(STATIONS):
        record = {"$class": station, "Unknown": 1}
        for key, field in reversed(list(zip(KEYS, fields))):
            if key in VALUES:
                record[key] = VALUES[key](field)
            elif field == "-":
                record[key] = UID(0)
            else:
                record[key] = add({"NS.string": field, "$class": mutable_string} if mutable else field)
        record["Longitude"] = int(record["Longitude"])  # a number may be stored as either kind
        elements += [add(record), add({"StationId": add("stranger"), "$class": buoy})]
    root = add({"NS.objects": elements, "$class": described("NSMutableArray", "NSArray", "NSObject")})
    archive = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": root}, "$objects": objects}
    for data in (plistlib.dumps(archive, fmt=FMT_BINARY), plistlib.dumps(uids_as_dictionaries(archive), fmt=FMT_XML)):
        check(to_stations(data) == lines(STATIONS), "stations read from an archive")
    archive["$top"] = {}
    check(to_stations(plistlib.dumps(archive, fmt=FMT_BINARY)) is None, "an archive without a root")


def main():
    tools = {command: Tool(sys.argv[1], command) for command in ("binary", "xml", "archive", "stations")}
    check_lists(tools["binary"], tools["xml"])
    check_archive_written(tools["archive"])
    check_archive_read(tools["stations"])
    for tool in tools.values():
        tool.close()


main()
