"""One bad file is among good archives, anywhere in the order of names and ages: it costs the others nothing."""

import os
import random

import checks
import making
from asking import QUESTIONS, Asker, contents_of
from checks import Wrong
from framing import Content

GOOD = making.days_of_three()
OWN = making.archive_bytes(entries=7, seed=30, start=making.START + 36)
AGES = (making.START, making.START + 150, making.START + 900)
# Names before, between and after those of the good ones.
NAMES = ('aabad', 'ccbad', 'eebad', 'zzbad')


def _put_file(bytes_):
    def put(place, name, mtime):
        place.put(name + '.zel3', bytes_, mtime)
    return put


def _put_folder(place, name, mtime):
    (place.archives / (name + '.zel3')).mkdir()


def _put_link(place, name, mtime):
    (place.archives / (name + '.zel3')).symlink_to('nowhere.zel3')


def _put_pipe(place, name, mtime):
    os.mkfifo(place.archives / (name + '.zel3'))


def _put_unreadable(place, name, mtime):
    place.put(name + '.zel3', OWN, mtime).chmod(0)


def _put_under(change):
    def put(place, name, mtime):
        place.put(change(name), OWN, mtime)
    return put


LEFT_OUT = {  # what cannot be served at all
    'random bytes': _put_file(random.Random(1).randbytes(3000)),
    'empty': _put_file(b''),
    'a dangling link': _put_link,
}
IN_PART = {
    'only a header': _put_file(making.TWO_STREAMS),
    'zeros in front': _put_file(bytes(200) + OWN[200:]),
    'zeros in the middle': _put_file(OWN[:150] + bytes(60) + OWN[210:]),
    'cut off': _put_file(OWN[:-7]),
    'cut off in the header': _put_file(OWN[:30]),
    'without its header': _put_file(OWN[len(making.TWO_STREAMS):]),
    'a folder': _put_folder,
    'a pipe': _put_pipe,
}
SOUND = {
    'a name that is not UTF-8': _put_under(lambda name: name + '\udcff.zel3'),
    'a very long name': _put_under(lambda name: name + 'x' * (250 - len(name) - 5) + '.zel3'),
    'control characters in the name': _put_under(lambda name: name + '\n\x1b[31m.zel3'),
}


def _complete(asker, question):
    """Asks so that everything whole in any of the files must be there."""
    times = asker.times()
    how = {'info': lambda: asker.info(complete=True), 'index': lambda: asker.index(complete=True),
           'events': lambda: asker.events(complete=True), 'activity': lambda: asker.activity(complete=True),
           'preview': lambda: asker.preview(first=times[0], last=times[0] + 36000, complete=True)}
    return how.get(question, lambda: QUESTIONS[question](asker))()


def _put_good(place):
    for number, (name, bytes_) in enumerate(GOOD.items()):
        place.put(name, bytes_, making.START + 100 * (number + 1))


def _one_of(program, place, kind, put, name, mtime, question):
    _put_good(place)
    put(place, name, mtime)
    if kind in LEFT_OUT or kind == 'unreadable':
        asker = Asker(program, place, {key: Content(bytes_) for key, bytes_ in GOOD.items()})
    else:
        asker = Asker(program, place)
    # The second time, what was found out the first time is remembered.
    for _ in range(2 if mtime == AGES[0] else 1):
        answer = _complete(asker, question)
        if kind in SOUND and 'without indexing' not in question and answer.exit_code != checks.DONE:
            raise Wrong(answer, 'exit 0: all of it is sound', f'exit {answer.exit_code}')
        if kind in LEFT_OUT or kind == 'unreadable':
            checks.names_what_is_left_out(answer, name)


def _capital_suffix(program, place, name, mtime, question):
    """Either an archive like the others, or one that is left out and named."""
    _put_good(place)
    place.put(name + '.ZEL3', OWN, mtime)
    asker = Asker(program, place)
    try:
        _complete(asker, question)
    except Wrong:
        asker.contents = {key: content for key, content in contents_of(place).items() if key in GOOD}
        answer = _complete(asker, question)
        checks.names_what_is_left_out(answer, name)


def _good_ones_by_time(program, place, kind, put, name, mtime):
    """Each time of each good file is found."""
    _put_good(place)
    put(place, name, mtime)
    asker = Asker(program, place, {key: Content(bytes_) for key, bytes_ in GOOD.items()})
    for time in asker.times()[::3]:
        asker.seek(time)


ASKED = [question for question in QUESTIONS if question != 'read the end']


def add_cases(cases):
    kinds = {**LEFT_OUT, **IN_PART, **SOUND}
    if os.geteuid() != 0:
        kinds['unreadable'] = _put_unreadable
    for place, name in enumerate(NAMES):
        for age, mtime in enumerate(AGES):
            for number, question in enumerate(ASKED):
                # Each question is asked of each kind in half of all places, and each place gets half of the questions.
                if (place + age + number) % 2:
                    continue
                for kind, put in kinds.items():
                    cases.add(f'{question} with {kind} as {name}, {mtime - making.START} old',
                              _one_of, kind, put, name, mtime, question)
                cases.add(f'{question} with a suffix in capitals as {name}',
                          _capital_suffix, name, mtime, question)
            for kind, put in kinds.items():
                cases.add(f'times with {kind} as {name}', _good_ones_by_time,
                          kind, put, name, mtime)
