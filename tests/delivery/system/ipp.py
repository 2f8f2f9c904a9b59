"""The few requests of the printing protocol that the tests need, over the server's own socket.

A command per question would cost ten times the time and would not tell the state's number.
"""

import http.client
import socket
import struct

GET_JOB, CANCEL_JOB, GET_PRINTER, HOLD_JOB, RELEASE_JOB = 0x09, 0x08, 0x0B, 0x0C, 0x0D
RESTART_JOB, PAUSE_PRINTER, RESUME_PRINTER, SET_JOB, GET_JOBS = 0x0E, 0x10, 0x11, 0x14, 0x0A
RESTART_PRINTER_JOBS = 0x29

_INTEGER, _BOOLEAN, _ENUM = 0x21, 0x22, 0x23
_TEXT, _NAME, _KEYWORD, _URI, _CHARSET, _LANGUAGE = 0x41, 0x42, 0x44, 0x45, 0x47, 0x48
_TAGS = {"printer-uri": _URI, "job-uri": _URI, "requested-attributes": _KEYWORD,
         "requesting-user-name": _NAME, "which-jobs": _KEYWORD, "job-hold-until": _KEYWORD}


class _Connection(http.client.HTTPConnection):
    def __init__(self, path, timeout):
        super().__init__("localhost", timeout=timeout)
        self.path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self.path)


def _attribute(tag, name, value):
    if isinstance(value, bool):
        value = struct.pack(">b", value)
    elif isinstance(value, int):
        value = struct.pack(">i", value)
    else:
        value = value.encode()
    name = name.encode()
    return struct.pack(">BH", tag, len(name)) + name + struct.pack(">H", len(value)) + value


def _encode(operation, attributes):
    body = struct.pack(">BBHIB", 2, 0, operation, 1, 1)
    body += _attribute(_CHARSET, "attributes-charset", "utf-8")
    body += _attribute(_LANGUAGE, "attributes-natural-language", "en")
    for name, value in attributes.items():
        values = value if isinstance(value, list) else [value]
        for number, one in enumerate(values):
            tag = {bool: _BOOLEAN, int: _INTEGER}.get(type(one)) or _TAGS[name]
            body += _attribute(tag, name if number == 0 else "", one)
    return body + b"\x03"


def _decode(body):
    """(status, list of groups); a group maps names to a value or, of several, to a list."""
    status = struct.unpack(">H", body[2:4])[0]
    groups, at, name = [], 8, ""
    while at < len(body):
        tag = body[at]
        at += 1
        if tag == 3:
            break
        if tag < 0x10:
            groups.append({})
            continue
        length = struct.unpack(">H", body[at:at + 2])[0]
        key = body[at + 2:at + 2 + length].decode()
        at += 2 + length
        length = struct.unpack(">H", body[at:at + 2])[0]
        raw = body[at + 2:at + 2 + length]
        at += 2 + length
        if tag in (_INTEGER, _ENUM):
            value = struct.unpack(">i", raw)[0]
        elif tag == _BOOLEAN:
            value = raw != b"\0"
        elif tag < 0x20:
            value = None
        else:
            value = raw.decode(errors="replace")
        if key:
            name = key
            groups[-1][name] = value
        else:
            before = groups[-1][name]
            groups[-1][name] = (before if isinstance(before, list) else [before]) + [value]
    return status, groups


def request(path, operation, attributes, timeout=60):
    """Asks the server that listens at the socket `path`.

    Returns (status, groups without the first). Raises OSError where nobody answers.
    """
    connection = _Connection(path, timeout)
    try:
        connection.request("POST", "/", _encode(operation, attributes),
                           {"Content-Type": "application/ipp"})
        answer = connection.getresponse().read()
    except http.client.HTTPException as broken:
        raise OSError(f"the print server broke off: {broken!r}") from broken
    finally:
        connection.close()
    if len(answer) < 9:
        raise OSError("the print server gave no answer")
    status, groups = _decode(answer)
    return status, groups[1:]
