"""What an archive holds, found by reading its bytes record by record; independent of the program.

Records follow each other directly:
  header  B5 B5 05 B5, i16 length of the body without its last NUL, i16, title NUL, streams of u8 number, u8 active
          and three texts with a NUL
  index   05 B5 B5 B5, u32 time, u32, u8 flag
  data    u16 length, u8 flags, u8 stream or type of event, then as many bytes
"""

import struct

HEADER_MARKER = b'\xb5\xb5\x05\xb5'
INDEX_MARKER = b'\x05\xb5\xb5\xb5'
INDEX_SIZE = 13
EVENT_NAMES = {0x80: 'motion', 0x81: 'motion-end', 0x82: 'door-open', 0x83: 'door-close', 0x90: 'plate',
               0x91: 'plate-unreadable', 0xFA: 'note', 0xFE: 'camera-lost', 0xFF: 'camera-back'}
UNITS = 1000  # archive times count thousandths of an index time


class CutOff(Exception):
    """The record continues beyond the end of the file."""


class NoRecord(Exception):
    """The bytes are not a record."""


class Entry:
    """What begins with an index record. The streams' highest levels are doubled, as they are shown everywhere."""

    def __init__(self, start, time, flag):
        self.start = start
        self.time = time
        self.flag = flag
        self.levels = {}
        self.events = []  # pairs of a type and the bytes of its text

    @property
    def archive_time(self):
        return self.time * UNITS


def declared_streams(body):
    """Streams of a header, from the two words after its marker on: number and whether active; None: makes no sense."""
    parts = body[4:].split(b'\0', 1)
    if len(parts) != 2:
        return None
    streams, rest = [], parts[1]
    while rest:
        fields = rest[2:].split(b'\0', 3)
        if len(rest) < 2 or len(fields) != 4:
            return None
        streams.append((rest[0], rest[1] != 0))
        rest = fields[3]
    return streams


def next_marker(bytes_, place):
    found = [at for at in (bytes_.find(HEADER_MARKER, place), bytes_.find(INDEX_MARKER, place)) if at >= 0]
    return min(found, default=len(bytes_))


def record_end(bytes_, place):
    """Where the record at `place` ends, whatever streams are declared."""
    head = bytes_[place:place + 4]
    if len(head) < 4:
        raise CutOff
    if head == INDEX_MARKER:
        end = place + INDEX_SIZE
    elif head == HEADER_MARKER:
        if len(bytes_) - place < 6:
            raise CutOff
        length, = struct.unpack_from('<h', bytes_, place + 4)
        if length < 4:
            raise NoRecord
        end = place + 4 + length + 1
    else:
        end = place + 4 + struct.unpack('<H', head[:2])[0]
    if end > len(bytes_):
        raise CutOff
    if head == HEADER_MARKER and declared_streams(bytes_[place + 4:end]) is None:
        raise NoRecord
    return end


class Content:
    """What the bytes of one file hold.

    whole       for each byte whether it belongs to a whole record that a reader must hand out
    records     the places of these records, ascending
    damaged     whether any byte belongs to no whole record
    undeclared  whether whole records are of streams that no header declares
    """

    def __init__(self, bytes_):
        self.bytes = bytes_
        self.records = []
        self.whole = bytearray(len(bytes_))
        self.entries = []
        self.streams = set()
        self.undeclared = False
        self._headers = []
        self._active = None
        self._in_entry = False
        place = 0
        while place < len(bytes_):
            place = self._take(place)
        self.damaged = not all(self.whole)
        self._leave_out_headers_of_nothing()
        self._served = None

    def header_places(self):
        return list(self._headers)

    def _take(self, place):
        try:
            end = record_end(self.bytes, place)
        except CutOff:
            return len(self.bytes)
        except NoRecord:
            return next_marker(self.bytes, place + 1)
        head = self.bytes[place:place + 4]
        if head == HEADER_MARKER:
            self._headers.append(place)
            self._in_entry = False
            self._active = {number for number, active in declared_streams(self.bytes[place + 4:end]) if active}
            self.streams |= self._active
        elif head == INDEX_MARKER:
            time, _, flag = struct.unpack_from('<IIB', self.bytes, place + 4)
            self.entries.append(Entry(place, time, flag))
            self._in_entry = True
        elif not self._in_entry:
            return next_marker(self.bytes, place + 1)
        elif self._active is not None and (head[3] in self._active or head[3] in EVENT_NAMES):
            self._take_data(place, end)
        else:
            return self._pass_undeclared(place)
        self._mark(place, end)
        return end

    def _take_data(self, place, end):
        _, flags, kind = struct.unpack_from('<HBB', self.bytes, place)
        entry = self.entries[-1]
        level = (flags & 31) * 2
        if level:
            entry.levels[kind] = max(level, entry.levels.get(kind, 0))
        if kind in EVENT_NAMES:
            entry.events.append((kind, bytes(self.bytes[place + 4:end])))

    def _pass_undeclared(self, place):
        """Records of undeclared streams are whole when they lead exactly to the next index record."""
        at, taken = place, []
        # Zeros are not records.
        while self.bytes[at:at + 4] not in (HEADER_MARKER, INDEX_MARKER, bytes(4)):
            try:
                end = record_end(self.bytes, at)
            except (CutOff, NoRecord):
                break
            taken.append((at, end))
            at = end
        if not taken or self.bytes[at:at + 4] != INDEX_MARKER:
            return next_marker(self.bytes, place + 1)
        for start, end in taken:
            self._mark(start, end)
        self.undeclared = True
        return at

    def _mark(self, place, end):
        self.records.append(place)
        self.whole[place:end] = b'\1' * (end - place)

    def _leave_out_headers_of_nothing(self):
        """A header that no entry follows need not be handed out."""
        last = self.entries[-1].start if self.entries else -1
        for place in self._headers:
            if place > last:
                end = record_end(self.bytes, place)
                self.whole[place:end] = bytes(end - place)

    def served_places(self):
        """Places of the records that a reader may hand out, where there is damage also those found from any marker."""
        if self._served is None:
            self._served = set(self.records)
            if self.damaged or self.undeclared:
                marker = next_marker(self.bytes, 0)
                while marker < len(self.bytes):
                    self._hop(marker)
                    marker = next_marker(self.bytes, marker + 1)
        return self._served

    def _hop(self, place):
        while place < len(self.bytes) and place not in self._served:
            try:
                end = record_end(self.bytes, place)
            except (CutOff, NoRecord):
                return
            self._served.add(place)
            place = end

    def possible_entries(self):
        """Every index record that may be one: (place, archive time)."""
        return [(place, struct.unpack_from('<I', self.bytes, place + 4)[0] * UNITS)
                for place in sorted(self.served_places()) if self.bytes[place:place + 4] == INDEX_MARKER]

    def possible_events(self):
        """Records that may be events, with the time of the last possible entry before them."""
        events, time = [], None
        for place in sorted(self.served_places()):
            head = self.bytes[place:place + 4]
            if head == INDEX_MARKER:
                time = struct.unpack_from('<I', self.bytes, place + 4)[0] * UNITS
            elif head != HEADER_MARKER and head[3] in EVENT_NAMES and time is not None:
                end = record_end(self.bytes, place)
                events.append((time, EVENT_NAMES[head[3]], shown_text(self.bytes[place + 4:end])))
        return events

    def events(self):
        """(archive time, name of the type, text)"""
        return [(entry.archive_time, EVENT_NAMES[kind], shown_text(text))
                for entry in self.entries for kind, text in entry.events]


def shown_text(bytes_):
    """The text, whatever number of characters stands for bytes that are not UTF-8."""
    parts = bytes(bytes_).decode('utf-8', 'replace').split('\ufffd')
    return '\ufffd'.join(part for number, part in enumerate(parts) if part or number in (0, len(parts) - 1))


def places(times):
    """The times of entries as used in their file: one that does not fit between its neighbours is replaced."""
    found = []
    for number, time in enumerate(times):
        before, after = times[max(number - 1, 0)], times[min(number + 1, len(times) - 1)]
        if number == 0:
            fits = time <= after or len(times) > 2 and time <= times[2]
            found.append(time if fits else after)
        elif number == len(times) - 1:
            fits = time >= before or number > 1 and times[number - 2] <= time
            found.append(time if fits else before)
        else:
            found.append(before if before <= after and not before <= time <= after else time)
    return found
