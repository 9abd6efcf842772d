"""Small files that look huge, and huge numbers of small things: they cost only what their data costs."""

import os
import random
import struct

import checks
import making
from asking import QUESTIONS, Asker
from checks import Wrong
from framing import Content

MEGABYTE = 1 << 20
GIGABYTE = 1 << 30
SECONDS = 2
SECONDS_A_MEGABYTE = 2
SPARE_MEMORY = 32 * MEGABYTE
MEMORY_A_BYTE = 4
EVENTS_MEMORY = 50 * MEGABYTE
EVENT_BYTES = 10 * MEGABYTE
FEW_EVENT_BYTES = 40000

DATA = making.archive_bytes(entries=60, second_header=30, seed=9, payload=20)
SMALL = making.archive_bytes(entries=4, seed=9, payload=8)


class Limited:
    """The program, with limits that grow with the data in a place."""

    def __init__(self, program, place, memory=None):
        self._program = program
        self._data = sum(path.stat().st_blocks * 512 for path in place.archives.iterdir())
        self._bare = program.run(place, '--version').memory
        self._memory = memory

    def run(self, place, *words, count=None):
        seconds = SECONDS + SECONDS_A_MEGABYTE * self._data / MEGABYTE
        answer = self._program.run(place, *words, seconds=seconds, count=count)
        checks.ended_well(answer)
        if answer.seconds > seconds * self._program.slowness:
            raise Wrong(answer, f'an end within {seconds:.1f} s', f'{answer.seconds:.1f} s')
        memory = self._memory or SPARE_MEMORY + MEMORY_A_BYTE * self._data + self._bare
        if self._program.slowness == 1 and answer.memory > memory:
            raise Wrong(answer, f'{memory >> 20} MB of memory at most', f'{answer.memory >> 20} MB')
        return answer


def _write_with_holes(path, parts, size):
    """`parts`: pairs of a place and bytes."""
    with open(path, 'wb') as file:
        file.truncate(size)
        for at, bytes_ in parts:
            file.seek(at)
            file.write(bytes_)


HALF = DATA.index(making.THREE_STREAMS)
# In separate blocks, so that there is a hole between them.
FAR = (64 * GIGABYTE) // 4096 * 4096 + 1
HOLES = {
    'after the data': ([(0, DATA)], DATA + bytes(33)),
    'before the data': ([(FAR, DATA)], bytes(33) + DATA),
    'within the data': ([(0, DATA[:HALF]), (FAR, DATA[HALF:])], DATA[:HALF] + bytes(33) + DATA[HALF:]),
}


def _archive_with_a_hole(program, place, where, question):
    parts, alike = HOLES[where]
    at, bytes_ = parts[-1]
    _write_with_holes(place.archives / 'cam.zel3', parts, max(64 * GIGABYTE, at + len(bytes_)))
    _ask(question, Asker(Limited(program, place), place, {'cam.zel3': Content(alike)}))


def _ask(question, asker):
    if question == 'dump':
        checks.ended_well(asker.run('dump', '--format', 'jsonl'))
    else:
        QUESTIONS[question](asker)


def _index_with_a_hole(program, place, suffix, question):
    place.put('cam.zel3', SMALL)
    place.put_index('cam.zel3', making.index_files(SMALL))
    os.truncate(place.archives / ('cam' + suffix), 2 * GIGABYTE)
    _ask(question, Asker(Limited(program, place), place))


def _positions(kind, times):
    chance = random.Random(7)
    of = {'anywhere': lambda number: chance.getrandbits(48), 'the largest': lambda number: (1 << 48) - 1,
          'all at the start': lambda number: 0, 'backwards': lambda number: (200 - number) << 30,
          'far apart': lambda number: number << 31}[kind]
    entries = b''
    for number in range(200):
        place = of(number)
        entries += struct.pack('<BBHII', 0, 0, place >> 32, times[0] + number, place & 0xFFFFFFFF) + bytes(12)
    return entries


POSITIONS = ('anywhere', 'the largest', 'all at the start', 'backwards', 'far apart')


def _impossible_positions(program, place, kind, question):
    place.put('cam.zel3', SMALL)
    times = [entry.time for entry in Content(SMALL).entries]
    place.put_index('cam.zel3', {**making.index_files(SMALL), '.id3': _positions(kind, times)})
    _ask(question, Asker(Limited(program, place), place))


def _write_events(place, entries, size):
    """Returns how many."""
    of_one = size // 4 // entries
    with open(place.archives / 'cam.zel3', 'wb') as file:
        file.write(making.TWO_STREAMS)
        for number in range(entries):
            file.write(making.index(making.START + number))
            file.write(making.event(0x80, '') * of_one)
    return of_one * entries


def _listed_events(program, place, entries, size, format_):
    number = _write_events(place, entries, size)
    limited = Limited(program, place, EVENTS_MEMORY)
    for _ in ('at first', 'with an index'):
        answer = limited.run(place, 'events', 'archives', '--format', format_, count=b'motion')
        told = answer.exit_code == checks.LEFT_OUT and answer.told
        if answer.exit_code == checks.DONE and answer.count != number or answer.exit_code != checks.DONE and not told:
            raise Wrong(answer, f'{number} events', answer.count)


def _asked_about_events(program, place, entries, size, words):
    _write_events(place, entries, size)
    Limited(program, place).run(place, words[0], 'archives', *words[1:])


FIRST = str(making.START * 1000)
ABOUT_EVENTS = [
    ('read', '0', '9999999999999', '-o', 'out'), ('info',), ('index',), ('seek', FIRST), ('doctor',),
    ('report', '-o', 'page'), ('preview', FIRST, str(making.START * 1000 + 1000)),
    ('activity', FIRST, str(making.START * 1000 + 5000), '--stream', '1', '--bins', '5')]
ABOUT_EVENTS_OF_ONE_ENTRY = [words for words in ABOUT_EVENTS if words[0] in ('read', 'index', 'report')]


def add_cases(cases):
    questions = [*QUESTIONS, 'dump']
    for question in questions:
        for where in HOLES:
            cases.add(f'{question} with a hole {where}', _archive_with_a_hole, where, question)
        for suffix in ('.id3', '.evt', '.hdr'):
            cases.add(f'{question} with a hole in {suffix}', _index_with_a_hole, suffix, question)
        for kind in POSITIONS:
            cases.add(f'{question} with positions {kind}', _impossible_positions, kind, question)
    size = FEW_EVENT_BYTES if cases.is_short else EVENT_BYTES
    for entries in (1, 2600):
        for format_ in ('text', 'json', 'jsonl', 'csv'):
            cases.add(f'events of {entries} entries as {format_}', _listed_events,
                      entries, size, format_)
        # All in one entry is the worst case for collecting them.
        for words in ABOUT_EVENTS if entries > 1 else ABOUT_EVENTS_OF_ONE_ENTRY:
            cases.add(f'{words[0]} of {entries} entries of events', _asked_about_events,
                      entries, size, words)
