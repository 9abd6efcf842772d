"""Asks the program one question about a folder of archives, and checks the answer."""

import checks
from client import ALL
from framing import Content

SOURCE = 'archives'


def contents_of(place):
    return {name: Content(bytes_) for name, bytes_ in place.contents().items()}


class Asker:
    """`contents`: what the archives hold; by default, what was put into the place."""

    def __init__(self, program, place, contents=None, source=SOURCE, options=()):
        self.program = program
        self.place = place
        self.contents = contents if contents is not None else contents_of(place)
        self.source = source
        self.options = list(options)

    def run(self, verb, *words):
        answer = self.program.run(self.place, verb, self.source, *map(str, words), *self.options)
        checks.untouched(answer, self.place)
        return answer

    def times(self):
        return sorted(entry.archive_time for content in self.contents.values() for entry in content.entries)

    def read(self, score=None, **how):
        answer = self.run('read', *ALL, '-o', 'out', '--format', 'json')
        checks.read_everything(answer, self.contents, score, **how)
        return answer

    def read_range(self, first, last):
        answer = self.run('read', first, last, '-o', 'out', '--format', 'json')
        checks.read_range(answer, self.contents, first, last)
        return answer

    def events(self, *words, **how):
        answer = self.run('events', '--format', 'json', *words)
        checks.events(answer, self.contents, **how)
        return answer

    def seek(self, time, **how):
        answer = self.run('seek', time, '--format', 'json')
        checks.seek(answer, self.contents, time, **how)
        return answer

    def info(self, **how):
        answer = self.run('info', '--format', 'json')
        checks.info(answer, self.contents, **how)
        return answer

    def index(self, **how):
        answer = self.run('index', '--format', 'json')
        checks.index(answer, self.contents, **how)
        return answer

    def activity(self, *words, stream=1, width=4000, **how):
        first, last = self.times()[0], self.times()[-1]
        bins = min((last - first) // width + 1, 400)
        answer = self.run('activity', first, first + bins * width, '--stream', stream, '--bins', bins,
                          '--format', 'json', *words)
        checks.activity(answer, self.contents, stream, width, **how)
        return answer

    def preview(self, first=None, last=None, **how):
        times = self.times()
        answer = self.run('preview', times[0] if first is None else first, times[-1] + 1 if last is None else last,
                          '--count', 3, '--format', 'json')
        checks.preview(answer, self.contents, **how)
        return answer

    def doctor(self, **how):
        answer = self.run('doctor', '--format', 'json')
        checks.doctor(answer, self.contents, **how)
        return answer

    def report(self, **how):
        answer = self.run('report', '-o', 'page')
        checks.report(answer, self.contents, **how)
        return answer


def _says_what_it_knows(answer):
    if answer.exit_code == checks.LEFT_OUT and not answer.told:
        raise checks.Wrong(answer, 'a word about where its knowledge ends', 'none')
    return answer


# The questions that can be asked of an archive that is there, by name; each gets an Asker.
QUESTIONS = {
    'read': lambda asker: asker.read(),
    'read the end': lambda asker: asker.read_range(asker.times()[-1] - 4000, asker.times()[-1] + 1),
    'info': lambda asker: asker.info(),
    'index': lambda asker: asker.index(),
    'events': lambda asker: asker.events(),
    'seek the last': lambda asker: asker.seek(asker.times()[-1]),
    'seek before the last': lambda asker: asker.seek(asker.times()[-1] - 500),
    'activity': lambda asker: asker.activity(),
    'preview': lambda asker: asker.preview(),
    'report': lambda asker: asker.report(),
    'doctor': lambda asker: asker.doctor(),
    'events without indexing': lambda asker: _says_what_it_knows(asker.events('--no-index')),
    'activity without indexing': lambda asker: _says_what_it_knows(asker.activity('--no-index')),
}
