"""Runs the program in its own place, and knows the shape of its answers."""

import json
import os
import pathlib
import shutil
import subprocess
import threading

from framing import shown_text

SECONDS = 10
LARGEST_OUTPUT = 1 << 25
ALL = ('0', '9999999999999')


class Answer:
    """The result of one call of the program; `output` is what it wrote with -o."""

    def __init__(self, command, exit_code, said, told, output=b'', seconds=0.0, memory=0, count=None):
        self.command = command
        self.exit_code = exit_code
        self.said = said  # standard output
        self.told = told  # standard error
        self.output = output
        self.seconds = seconds
        self.memory = memory  # bytes, at its peak
        self.count = count    # of a word in its standard output

    def json(self):
        return json.loads(self.said.decode('utf-8'))

    # Field names appear only here.

    def read_counts_damage(self):
        answer = self.json()
        return any(answer[key] for key in ('damagedBytes', 'cutOffBytes', 'undeclaredEntries', 'withoutHeader'))

    def files(self):
        """From `info`, `index` and `doctor`: name, start and end; no times when they are not known."""
        return [(file['file'], file.get('start'), file.get('end')) for file in self.json()['files']]

    def streams(self):
        """From `info`, by name; only for files whose streams are all known."""
        return {file['file']: set(file['streams']) for file in self.json()['files'] if file.get('streamsComplete')}

    def events(self):
        return [(event['time'], event['type'], shown_text(event['text'].encode('utf-8', 'replace')))
                for event in self.json()['events']]

    def found_time(self):
        return self.json()['time']

    def bins(self):
        """(time, level, whether anything was recorded)"""
        return [(row['time'], row['level'], row['recorded']) for row in self.json()['bins']]

    def shown_times(self):
        """From `preview`: the times of the entries shown, None where there is none."""
        return [row['entry']['time'] if row['entry'] else None for row in self.json()['positions']]

    def findings(self):
        """From `doctor`: (severity, file)"""
        return [(finding['severity'], finding['file']) for finding in self.json()['findings']]

    def tells_disorder(self):
        answer = self.json()
        return bool(answer['backward']) or answer['misplacedEntries'] > 0

    def names(self, name):
        """Whether it mentions a file; characters of the name that are not ASCII may be written in any way."""
        plain = ''.join(sign for sign in name if sign.isascii() and sign.isprintable())[:5].encode()
        return plain in self.told or plain in self.said


def as_shown(name):
    """A file's name as JSON has it."""
    return os.fsencode(name).decode('utf-8', 'replace')


class Place:
    """A home with a folder of archives. What is put there as `foreign` must stay as it is."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.archives = self.folder / 'archives'
        self.archives.mkdir(parents=True)
        for name in ('home', 'tmp', 'cache', 'config'):
            (self.folder / name).mkdir()
        self._foreign = {}

    def put(self, name, bytes_, mtime=None):
        """Writes an archive; a file that is already there grows or shrinks, and is not created again."""
        path = self.archives / name
        with open(path, 'r+b' if path.exists() else 'wb') as file:
            file.write(bytes_)
            file.truncate()
        if mtime is not None:
            os.utime(path, (mtime, mtime))
        self._foreign[name] = bytes_
        return path

    def replace(self, name, bytes_, mtime=None):
        """Puts another file under the name."""
        other = self.put(name + '.new', bytes_, mtime)
        os.replace(other, self.archives / name)
        self._foreign[name] = self._foreign.pop(name + '.new')

    def put_index(self, name, files):
        """`files`: bytes by suffix."""
        stem = name[:name.rindex('.')]
        for suffix, bytes_ in files.items():
            (self.archives / (stem + suffix)).write_bytes(bytes_)

    def changed(self):
        """The archives that are no longer as they were put there."""
        return [name for name, bytes_ in self._foreign.items()
                if not (self.archives / name).is_file() or (self.archives / name).read_bytes() != bytes_]

    def contents(self):
        return dict(self._foreign)

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def environment(self):
        kept = {name: value for name, value in os.environ.items()
                if name in ('PATH', 'ASAN_OPTIONS', 'UBSAN_OPTIONS', 'LSAN_OPTIONS', 'LD_LIBRARY_PATH')}
        return {**kept, 'TZ': 'UTC', 'LC_ALL': 'C.UTF-8', 'HOME': str(self.folder / 'home'),
                'TMPDIR': str(self.folder / 'tmp'), 'XDG_CACHE_HOME': str(self.folder / 'cache'),
                'XDG_CONFIG_HOME': str(self.folder / 'config')}


class Program:
    """The built program. With `slowness` above 1 it is given more time."""

    def __init__(self, path, slowness=1):
        self.path = str(pathlib.Path(path).resolve())
        self.slowness = slowness

    def run(self, place, *words, seconds=SECONDS, count=None):
        """With `count`, its standard output is not kept, only how often this word is in it."""
        command = [self.path, *words]
        said, told = place.folder / 'said', place.folder / 'told'
        with open(said, 'wb') as out, open(told, 'wb') as err:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                       cwd=place.folder, env=place.environment())
            # Its computing time is measured, because the machine may be busy with other work, too.
            watch = threading.Timer(seconds * self.slowness * 10, process.kill)
            watch.start()
            _, status, usage = os.wait4(process.pid, 0)
            watch.cancel()
        process.returncode = os.waitstatus_to_exitcode(status)
        return Answer(' '.join(command), process.returncode, b'' if count else said.read_bytes(), told.read_bytes(),
                      _output(place, words), usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024,
                      _occurrences(said, count) if count else None)


def _output(place, words):
    """What was written with -o, up to the size of the largest archive here."""
    if '-o' not in words:
        return b''
    path = place.folder / words[words.index('-o') + 1]
    if not path.is_file():
        return b''
    with open(path, 'rb') as file:
        output = file.read(LARGEST_OUTPUT)
    path.unlink()
    return output


def _occurrences(path, word):
    number, rest = 0, b''
    with open(path, 'rb') as file:
        while piece := file.read(1 << 20):
            piece = rest + piece
            number += piece.count(word)
            rest = piece[-(len(word) - 1):] if not piece.endswith(word) else b''
    return number
