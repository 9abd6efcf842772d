"""Clocks are set back, run ahead or are wrong for a moment. Every entry is handed out once, and disorder is reported."""

import making
from asking import Asker
from checks import Wrong

ENTRIES = 6
STEP = 2
LARGEST = 0xFFFFFFFF


def _even(file):
    start = making.START + file * ENTRIES * STEP
    return [start + number * STEP for number in range(ENTRIES)]


def _one_wrong(file, number, wrong):
    times = [_even(each) for each in range(3)]
    times[file][number] = max(0, min(LARGEST, wrong(times[file][number])))
    return times


def _set_back(file, number, by):
    """From this entry on; the files after it follow the new clock."""
    times = [_even(each) for each in range(3)]
    for each in range(file, 3):
        for at in range(number if each == file else 0, ENTRIES):
            times[each][at] -= by
    return times


WRONG = {'an hour ahead': lambda time: time + 3600, 'an hour back': lambda time: time - 3600,
         'a year ahead': lambda time: time + 31536000, 'zero': lambda time: 0, 'the largest': lambda time: LARGEST,
         'one bit': lambda time: time ^ 0x10}


def _shapes():
    for file in range(3):
        for number in (0, 2, ENTRIES - 1):
            for name, wrong in WRONG.items():
                yield f'file {file}, entry {number}: {name}', _one_wrong(file, number, wrong), {(file, number)}
        for number in (0, 3):
            if file + number > 0:
                for by in (3, 5, 60, 7200):
                    yield f'set back by {by} in file {file} at {number}', _set_back(file, number, by), None


def _is_ordered(times):
    flat = [time for file in sorted(times) for time in file]
    return flat == sorted(flat)


def _put(place, times):
    # Names and ages say nothing.
    for number, of_file in enumerate(times):
        place.put(f'{"bca"[number]}.zel3', making.archive_bytes(entries=ENTRIES, seed=40 + number, times=of_file),
                  making.START + 500 - number)


def _read_everything(program, place, times):
    _put(place, times)
    asker = Asker(program, place)
    for _ in ('at first', 'with an index'):
        answer = asker.read()
        if not _is_ordered(times) and not answer.tells_disorder():
            raise Wrong(answer, 'a word about times out of order or overlapping', 'none')


def _every_event(program, place, times):
    _put(place, times)
    asker = Asker(program, place)
    for _ in ('at first', 'with an index'):
        asker.events(complete=True)
    asker.info()
    asker.index()
    asker.report()


def _every_right_time(program, place, times, wrong):
    """One wrong time does not hide the entries with right ones."""
    _put(place, times)
    asker = Asker(program, place)
    for file, of_file in enumerate(times):
        for number, time in enumerate(of_file):
            if (file, number) not in wrong:
                asker.seek(time * 1000)


def add_cases(cases):
    shapes = list(_shapes())
    shapes.append(('files of the same times', [_even(0), _even(0), _even(1)], set()))
    shapes.append(('one within the other', [_even(0), [time + 3 for time in _even(0)], _even(0)[:2] * 3], None))
    shapes.append(('an empty clock', [[0] * ENTRIES, _even(1), _even(2)], None))
    for name, times, wrong in shapes:
        cases.add(f'read: {name}', _read_everything, times)
        cases.add(f'events: {name}', _every_event, times)
        if wrong is not None:
            cases.add(f'seek: {name}', _every_right_time, times, wrong)
