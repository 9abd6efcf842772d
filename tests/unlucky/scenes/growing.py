"""An archive grows while people ask about it. The time of its last change may stand still; its size does not."""

import making
from asking import QUESTIONS, Asker

MTIME = making.START + 100
RECORDS = making.archive(entries=9, second_header=5, seed=3, start=making.START + 40)
BEFORE = making.archive_bytes(entries=5, seed=4)


def _prefix(records, bytes_=0):
    """This many whole records, and this many bytes of the next."""
    return b''.join(RECORDS[:records]) + b''.join(RECORDS[records:])[:bytes_]


def _grows_once(program, place, old, new, question, asked_before, with_another):
    if with_another:
        place.put('aa.zel3', BEFORE)
    place.put('cam.zel3', old, MTIME)
    place.put_index('cam.zel3', making.index_files(old))
    if asked_before:
        # So that what is found out about the index is remembered.
        Asker(program, place).run('seek', str(making.START * 1000 + 40000))
    place.put('cam.zel3', new, MTIME)
    QUESTIONS[question](Asker(program, place))


def _grows_on_and_on(program, place, steps, names):
    """`names`: of the questions that are asked in turn, without tidying up between them."""
    for number, bytes_ in enumerate(steps):
        place.put('cam.zel3', bytes_, MTIME)
        QUESTIONS[names[number % len(names)]](Asker(program, place))
        if number % 3 == 0:
            Asker(program, place).read()


def add_cases(cases):
    steps = [(_prefix(7), _prefix(8)), (_prefix(7), _prefix(10)), (_prefix(7), _prefix(10, 9)),
             (_prefix(7, 5), _prefix(10)), (_prefix(10), _prefix(len(RECORDS))), (_prefix(4), _prefix(4, 1))]
    for number, (old, new) in enumerate(steps):
        for question in QUESTIONS:
            for asked_before in (False, True):
                cases.add(f'{question}, from {len(old)} to {len(new)} bytes', _grows_once,
                          old, new, question, asked_before, number % 2 == 1)
    by_records = [_prefix(number) for number in range(3, len(RECORDS) + 1)]
    by_bytes = [_prefix(len(RECORDS) - 5, bytes_) for bytes_ in range(70)]
    for question in QUESTIONS:
        for name, growth in (('record by record', by_records), ('byte by byte', by_bytes)):
            cases.add(f'{question}, {name}', _grows_on_and_on, growth, [question])
    for name, growth in (('record by record', by_records), ('byte by byte', by_bytes)):
        cases.add(f'everything in turns, {name}', _grows_on_and_on, growth, list(QUESTIONS))
