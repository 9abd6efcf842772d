"""A program that answers right, or wrong in one way, to try the scenes on."""

import functools
import json
import os

import making
from client import Answer, as_shown
from framing import Content, places, record_end

content_of = functools.lru_cache(maxsize=128)(Content)


class Reply:
    """An answer before it is written out."""

    def __init__(self):
        self.exit_code = 0
        self.json = {}
        self.output = b''
        self.told = ''
        self.seconds = 0
        self.memory = 0


class StandIn:
    """`alter` changes each reply: it gets the verb, the reply and the place."""

    def __init__(self, alter=lambda verb, reply, place: None):
        self.path = 'stand-in'
        self.slowness = 1
        self._alter = alter

    def run(self, place, verb, source='archives', *words, seconds=0, count=None):
        contents, left_out = _look_around(place, source)
        reply = Reply()
        hurt = [name for name, content in contents.items() if content.damaged or content.undeclared]
        reply.told = ' '.join(map(as_shown, left_out + hurt))
        reply.exit_code = 3 if reply.told else 0
        holding = {name: content for name, content in contents.items() if content.entries}
        _VERBS[verb](reply, holding, words)
        if verb == 'index':
            for name, content in holding.items():
                place.put_index(name, making.index_files(bytes(content.bytes)))
        self._alter(verb, reply, place)
        said = json.dumps(reply.json).encode()
        return Answer(f'stand-in {verb} {" ".join(words)}', reply.exit_code, said, reply.told.encode(), reply.output,
                      reply.seconds, reply.memory, said.count(count) if count else None)


def _look_around(place, source):
    folder = place.folder / source
    paths = sorted(folder.iterdir()) if folder.is_dir() else [folder]
    contents, left_out = {}, []
    for path in paths:
        if path.suffix.lower() != '.zel3':
            continue
        if not path.is_file():
            left_out.append(path.name)
            continue
        with open(path, 'rb') as file:
            content = content_of(_without_most_zeros(file))
        contents[path.name] = content
        if not content.entries:
            left_out.append(path.name)
    return contents, left_out


def _without_most_zeros(file):
    """What is in a file with holes, with one zero for each hole."""
    parts, at, end = [], 0, file.seek(0, os.SEEK_END)
    while at < end:
        try:
            data = file.seek(at, os.SEEK_DATA)
        except OSError:
            data = end
        parts.append(bytes(data > at))
        hole = file.seek(data, os.SEEK_HOLE) if data < end else end
        file.seek(data)
        parts.append(file.read(hole - data))
        at = hole
    return b''.join(parts)


def _in_order(holding):
    return sorted(holding.items(), key=lambda item: item[1].entries[0].time)


def _entries(holding):
    return [entry for _, content in _in_order(holding) for entry in content.entries]


def _read(reply, holding, words):
    first, last = int(words[0]), int(words[1])
    for _, content in _in_order(holding):
        wanted = {entry.start: first <= entry.archive_time < last for entry in content.entries}
        headers, taken = content.header_places(), False
        for start in filter(content.whole.__getitem__, content.records):
            taken = wanted.get(start, taken)
            if taken or start in headers:
                reply.output += content.bytes[start:record_end(content.bytes, start)]
    times = [entry.time for entry in _entries(holding)]
    reply.json = {'damagedBytes': 0, 'cutOffBytes': 0, 'undeclaredEntries': 0, 'withoutHeader': False,
                  'backward': [] if times == sorted(times) else [{'from': 0, 'to': 0}], 'misplacedEntries': 0}
    if not holding:
        reply.exit_code = 4


def _events(reply, holding, words):
    reply.json = {'events': [{'time': time, 'type': kind, 'text': text}
                             for content in holding.values() for time, kind, text in content.events()]}


def _seek(reply, holding, words):
    time = int(words[0])
    before = [entry.archive_time for entry in _entries(holding) if entry.archive_time <= time]
    if not before:
        reply.exit_code = 4
        return
    exact = time in before
    held = [here for content in holding.values()
            for here, after in zip([entry.archive_time for entry in content.entries],
                                   [entry.archive_time for entry in content.entries][1:] + [1 << 62])
            if here <= time < after]
    reply.json = {'time': time if exact else (held or before)[-1]}


def _files(reply, holding, words):
    reply.json = {'files': []}
    for name, content in _in_order(holding):
        times = places([entry.archive_time for entry in content.entries])
        reply.json['files'].append({'file': as_shown(name), 'start': min(times), 'end': max(times),
                                    'streams': sorted(content.streams), 'streamsComplete': True})


def _activity(reply, holding, words):
    first, last = int(words[0]), int(words[1])
    stream, bins = int(words[3]), int(words[5])
    width = (last - first) // bins
    reply.json = {'bins': []}
    for number in range(bins):
        time = first + number * width
        inside = [entry for entry in _entries(holding) if time <= entry.archive_time < time + width]
        level = max((entry.levels.get(stream, 0) for entry in inside), default=0)
        reply.json['bins'].append({'time': time, 'level': level, 'recorded': bool(inside)})


def _preview(reply, holding, words):
    reply.json = {'positions': [{'entry': {'time': entry.archive_time}} for entry in _entries(holding)[:1]]}


def _doctor(reply, holding, words):
    reply.json = {'files': [], 'findings': [{'severity': 'error', 'file': reply.told}] if reply.exit_code else []}


def _report(reply, holding, words):
    reply.output = ' '.join(map(as_shown, holding)).encode()


_VERBS = {'read': _read, 'events': _events, 'seek': _seek, 'info': _files, 'index': _files, 'activity': _activity,
          'preview': _preview, 'doctor': _doctor, 'report': _report, 'dump': lambda *_: None,
          '--version': lambda *_: None}


def _changes(*verbs):
    """An alteration of the replies to these verbs, if they are answers."""
    def of(change):
        @functools.wraps(change)
        def alter(verb, reply, place):
            if verb in verbs and reply.exit_code in (0, 3):
                change(reply)
        return alter
    return of


@_changes('read')
def drops_the_last_byte(reply):
    reply.output = reply.output[:-1]


@_changes('read')
def drops_half_without_a_word(reply):
    reply.output = reply.output[:len(reply.output) // 2]
    reply.exit_code = 0


@_changes('read')
def hands_out_twice(reply):
    reply.output *= 2


@_changes('read')
def makes_up_bytes(reply):
    reply.output += b'made up'
    reply.exit_code = 0


@_changes('events')
def loses_an_event(reply):
    del reply.json['events'][-1:]
    reply.exit_code = 0


@_changes('events')
def changes_an_event(reply):
    for event in reply.json['events'][:1]:
        event['text'] += '!'


@_changes('seek')
def finds_the_entry_after(reply):
    reply.json['time'] += 2000


@_changes('info', 'index')
def ends_files_later(reply):
    for file in reply.json['files']:
        file['endTime'] += 1000
    reply.exit_code = 0


@_changes('info', 'index')
def forgets_a_file(reply):
    del reply.json['files'][-1:]
    reply.exit_code = 0


@_changes('activity')
def paints_quiet(reply):
    for bin_ in reply.json['bins']:
        bin_['level'] = 0
    reply.exit_code = 0


@_changes('preview')
def shows_nothing(reply):
    reply.json = {'positions': [{'entry': None}]}
    reply.exit_code = 0


@_changes('read', 'doctor')
def says_that_all_is_well(reply):
    reply.exit_code, reply.told = 0, ''
    reply.json['findings'] = []
    if 'backward' in (reply.json or {}):
        reply.json['backward'] = []


@_changes('read', 'seek')
def finds_nothing(reply):
    reply.exit_code = 4


def crashes(verb, reply, place):
    reply.exit_code = -11


def touches_an_archive(verb, reply, place):
    for path in place.archives.iterdir():
        if path.suffix == '.zel3' and path.is_file() and path.name in place.contents():
            os.truncate(path, path.stat().st_size + 1)


def takes_its_time(verb, reply, place):
    reply.seconds = 100


def takes_memory(verb, reply, place):
    if verb != '--version':
        reply.memory = 1 << 30


ALTERATIONS = [takes_its_time, takes_memory, drops_the_last_byte, drops_half_without_a_word, hands_out_twice,
               makes_up_bytes, loses_an_event, changes_an_event, finds_the_entry_after, ends_files_later,
               forgets_a_file, paints_quiet, shows_nothing, says_that_all_is_well, finds_nothing, crashes,
               touches_an_archive]
