"""Sound archives: what is read from them is what is in the files, to the last byte."""

import checks
import making
from asking import Asker
from checks import Wrong

SHAPES = {
    'one': [dict(entries=7)],
    'one entry': [dict(entries=1)],
    'three in a row': [dict(entries=6, start=making.START + 12 * number, seed=number) for number in range(3)],
    'a gap': [dict(entries=6, seed=1), dict(entries=6, start=making.START + 9000, seed=2)],
    'headers inside': [dict(entries=9, second_header=4, seed=1),
                       dict(entries=9, start=making.START + 18, second_header=8, seed=2)],
    'large records': [dict(entries=2, payload=65000, seed=1), dict(entries=2, start=making.START + 4, payload=40000)],
    'many entries': [dict(entries=300, step=1, seed=number, start=making.START + 300 * number)
                     for number in range(2)],
    'no event': [dict(entries=8, events=False)],
}


def _archives(place, shape):
    # Names do not follow the times.
    for number, one in enumerate(shape):
        place.put(f'{"zyx"[number]}{number}.zel3', making.archive_bytes(**one))


def _equals_its_files(program, place, shape):
    _archives(place, shape)
    asker = Asker(program, place)
    together = b''.join(making.archive_bytes(**one) for one in shape)
    for _ in ('at first', 'with an index'):
        answer = asker.read(exits=(checks.DONE,))
        if answer.output != together:
            raise Wrong(answer, f'the {len(together)} bytes of the files in order of time', len(answer.output))


def _read_is_sound(program, place, shape):
    _archives(place, shape)
    answer = Asker(program, place).read(exits=(checks.DONE,))
    (place.archives / 'read.bin').write_bytes(answer.output)
    (place.archives / 'read.bin').rename(place.folder / 'read.zel3')
    copied = Asker(program, place, {}, 'read.zel3').run('doctor', '--format', 'json')
    if copied.exit_code not in (0, 3) or any(severity in ('error', 'warning') for severity, _ in copied.findings()):
        raise Wrong(copied, 'an archive without errors and warnings', copied.said[-400:])


def _every_verb_is_done(program, place, shape):
    _archives(place, shape)
    asker = Asker(program, place)
    done = (checks.DONE,)
    for _ in ('at first', 'with an index'):
        asker.info(exits=done)
        asker.index(exits=done)
        asker.events(exits=done)
        asker.activity(exits=done)
        asker.activity(exits=done, stream=2, width=2000)
        times = asker.times()
        for time in times[0], times[len(times) // 2], times[-1]:
            asker.seek(time, exits=done)
            asker.read_range(time, time + 5000)
        asker.preview(times[0], times[0] + 1, exits=done)
        asker.doctor(exits=done)
        asker.report(exits=done)


def _index_beside_is_as_expected(program, place, shape):
    """The other scenes write the files of an index themselves."""
    _archives(place, shape)
    answer = Asker(program, place).run('index', '--format', 'json')
    for name, bytes_ in place.contents().items():
        for suffix, expected in making.index_files(bytes_).items():
            path = (place.archives / name).with_suffix(suffix)
            came = path.read_bytes() if path.exists() else b''
            if came != expected:
                raise Wrong(answer, f'{path.name} of {expected[:64].hex()}', came[:64].hex())


def add_cases(cases):
    for name, shape in SHAPES.items():
        cases.add(f'{name}: bytes', _equals_its_files, shape)
        cases.add(f'{name}: read as an archive', _read_is_sound, shape)
        cases.add(f'{name}: verbs', _every_verb_is_done, shape)
        cases.add(f'{name}: index', _index_beside_is_as_expected, shape)
