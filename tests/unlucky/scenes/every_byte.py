"""Every single byte of a small archive is set to 0 and to 255, and flipped."""

import making
from asking import Asker
from checks import Wrong
from framing import Content

SOUND = making.archive_bytes(entries=14, second_header=7, seed=8, payload=10)
INDEX = making.index_files(SOUND)
SAMPLE = 5        # one variant in this many is asked all questions
WITH_INDEX = 7    # one byte in this many is changed under an index, too


def _variants(at):
    byte = SOUND[at]
    one_bit = {byte ^ 1} if at % 2 else set()
    return sorted(({0, 255, byte ^ 255} | one_bit) - {byte})


def _with(at, value):
    return SOUND[:at] + bytes([value]) + SOUND[at + 1:]


def _ask_all(asker):
    times = [entry.archive_time for entry in Content(SOUND).entries]
    for time in times[0], times[6] + 500, times[-1]:
        asker.seek(time)
    asker.info()
    asker.index()
    asker.doctor()


def _fresh(program, place, at, value, all_questions, score):
    place.put('cam.zel3', _with(at, value))
    asker = Asker(program, place)
    asker.read(score)
    if all_questions and asker.contents['cam.zel3'].entries:
        asker.events()
        asker.activity()
        _ask_all(asker)


def _as_now_or_before(ask, now, before):
    """What an index says about events and levels is not compared with the archive."""
    try:
        ask(now)
    except Wrong:
        ask(before)


def _under_its_old_index(program, place, at, value, score):
    place.put('cam.zel3', _with(at, value))
    place.put_index('cam.zel3', INDEX)
    now = Asker(program, place)
    before = Asker(program, place, {'cam.zel3': Content(SOUND)})
    now.read(score)
    _as_now_or_before(Asker.events, now, before)
    if now.times():
        _as_now_or_before(Asker.activity, now, before)
    _ask_all(now)


def add_cases(cases):
    number = 0
    for at in range(len(SOUND)):
        for value in _variants(at):
            number += 1
            cases.add(f'{value} at {at}', _fresh,
                      at, value, number % SAMPLE == 0, cases.score)
            if at % WITH_INDEX == 0:
                cases.add(f'{value} at {at}, with an index', _under_its_old_index,
                          at, value, cases.score)
