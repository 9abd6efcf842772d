"""Writes the bytes of small archives, and of the index files beside them."""

import random
import struct

import framing

START = 1714521600  # index time: 2024-05-01


def header(streams, title='Unlucky'):
    """`streams`: pairs of a number and a kind."""
    texts = title.encode() + b'\0'
    for number, kind in streams:
        texts += bytes([number, 1]) + kind.encode() + b'\0name\0format\0'
    return framing.HEADER_MARKER + struct.pack('<hh', len(texts) + 3, 5) + texts


def index(time, flag=0):
    return framing.INDEX_MARKER + struct.pack('<IIB', time, 0, flag)


def data(stream, payload, level=0):
    return struct.pack('<HBB', len(payload), level, stream) + payload


def event(kind, text, level=0):
    return data(kind, text.encode(), level)


TWO_STREAMS = header([(1, 'video'), (2, 'sound')])
THREE_STREAMS = header([(1, 'video'), (2, 'sound'), (3, 'text')], 'Unlucky, later')


def archive(entries=6, start=START, step=2, seed=1, payload=12, second_header=None, times=None, events=True):
    """An archive of two streams; from entry `second_header` on of three. No two entries have the same bytes.
    `times`: of the entries, instead of steps. Returns its records, one after the other."""
    chance = random.Random(seed)
    records = [TWO_STREAMS]
    for number in range(entries):
        if number > 0 and number == second_header:
            records.append(THREE_STREAMS)
        records.append(index(times[number] if times else start + number * step, number % 4 == 1))
        records.append(data(1, chance.randbytes(payload), chance.randrange(1, 32)))
        if number % 3 != 2:
            records.append(data(2, chance.randbytes(payload // 2), chance.randrange(0, 32)))
        if events and number % 4 == 2:
            records.append(event(0x80, f'Motion {seed}.{number}', 6))
        if events and number % 4 == 3:
            records.append(event(0x90, f'Plate {seed}.{number}'))
    return records


def archive_bytes(**shape):
    return b''.join(archive(**shape))


def days_of_three(folder_start=START, entries=6, step=2):
    """Three archives, consecutive in time: bytes by name."""
    return {f'{name}.zel3': archive_bytes(entries=entries, start=folder_start + number * entries * step, step=step,
                                          seed=10 + number)
            for number, name in enumerate(['bb', 'dd', 'ff'])}


def index_files(archive):
    """The index that belongs to an archive: bytes by suffix."""
    content = framing.Content(archive)
    entries = b''
    events = b''
    for entry in content.entries:
        pairs = sorted(entry.levels.items())[:6]
        high, low = entry.start >> 32, entry.start & 0xFFFFFFFF
        levels = b''.join(bytes(pair) for pair in pairs).ljust(12, b'\0')
        entries += struct.pack('<BBHII', 0x80 if entry.flag else 0, len(pairs), high, entry.time, low) + levels
        if entry.events:
            held = entry.events[:255]
            events += struct.pack('<IIB', entry.time, low, len(held))
            events += b''.join(bytes([kind]) + text + b'\0' for kind, text in held)
    headers = b''.join(struct.pack('<Q', place) for place in content.header_places())
    return {'.id3': entries, '.hdr': headers, '.evt': events}
