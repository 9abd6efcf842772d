"""Archives and the files of their indexes are replaced, swapped, cut off and changed, and keep their names and times."""

import framing
import making
from asking import QUESTIONS, Asker
from checks import DONE, Wrong

MTIME = making.START + 1000
OLD = making.archive_bytes(entries=8, seed=1)
SMALL = making.archive_bytes(entries=5, seed=6, payload=8)
ID3_RECORD = 24
ID3_PAIRS = 12


def _of_size(size, **shape):
    """An archive of exactly this size, filled up with one more record."""
    for seed in range(100, 200):
        bytes_ = making.archive_bytes(seed=seed, **shape)
        if len(bytes_) == size:
            return bytes_
        if len(bytes_) + 4 <= size:
            return bytes_ + making.data(1, bytes([seed] * (size - len(bytes_) - 4)))
    raise ValueError(size)


OTHERS = {
    'longer and later': making.archive_bytes(entries=11, seed=2, start=making.START + 5000),
    'shorter': making.archive_bytes(entries=4, seed=2, start=making.START + 3),
    'of the same size, later': making.archive_bytes(entries=8, seed=1, start=making.START + 777),
    'of the same size and times': _of_size(len(OLD), entries=8, payload=9),
    'of the same size, with fewer entries': _of_size(len(OLD), entries=5, payload=10),
    'with another last entry': OLD[:-20] + bytes(reversed(OLD[-20:])),
}


def _replaced(program, place, new, question, in_place, same_time):
    place.put('cam.zel3', OLD, MTIME)
    place.put_index('cam.zel3', making.index_files(OLD))
    Asker(program, place).run('info')
    (place.put if in_place else place.replace)('cam.zel3', new, MTIME if same_time else None)
    QUESTIONS[question](Asker(program, place))


def _swapped(program, place, question, what):
    """`what`: archives or index files of two archives, or an index copied to both."""
    archives = {'a.zel3': OLD, 'b.zel3': making.archive_bytes(entries=8, seed=3, start=making.START + 16)}
    indexes = {name: making.index_files(bytes_) for name, bytes_ in archives.items()}
    for name, bytes_ in archives.items():
        place.put(name, bytes_, MTIME)
        place.put_index(name, indexes[name])
    Asker(program, place).run('info')
    if what == 'archives':
        place.put('a.zel3', archives['b.zel3'], MTIME)
        place.put('b.zel3', archives['a.zel3'], MTIME)
    else:
        place.put_index('a.zel3', indexes['b.zel3'])
        place.put_index('b.zel3', indexes['a.zel3' if what == 'indexes' else 'b.zel3'])
    QUESTIONS[question](Asker(program, place))


def _mixed_up(program, place, suffixes, question):
    """Some files of an index are another archive's."""
    other = making.index_files(making.archive_bytes(entries=6, seed=5, start=making.START + 1, payload=20))
    place.put('cam.zel3', OLD, MTIME)
    place.put_index('cam.zel3', making.index_files(OLD))
    place.put_index('cam.zel3', {suffix: other[suffix] for suffix in suffixes})
    QUESTIONS[question](Asker(program, place))


def _cut_off(program, place, suffix, length, question):
    files = making.index_files(SMALL)
    place.put('cam.zel3', SMALL, MTIME)
    place.put_index('cam.zel3', {**files, suffix: files[suffix][:length]})
    QUESTIONS[question](Asker(program, place))


def _is_word(suffix, at):
    """Whether a byte holds levels, flags, types or texts of the index. Only `doctor` compares these."""
    if suffix == '.id3':
        return at % ID3_RECORD < 2 or at % ID3_RECORD >= ID3_PAIRS
    if suffix == '.evt':
        place = 0
        for entry in framing.Content(SMALL).entries:
            if entry.events:
                place += 9
                for _, text in entry.events:
                    if place <= at < place + 1 + len(text):
                        return True
                    place += 2 + len(text)
    return False


def _changed(program, place, suffix, at, value):
    files = {name: bytearray(bytes_) for name, bytes_ in making.index_files(SMALL).items()}
    files[suffix][at] = value
    for question in ('events', 'activity', 'seek the last', 'read', 'read the end'):
        place.put('cam.zel3', SMALL, MTIME)
        place.put_index('cam.zel3', files)
        asker = Asker(program, place)
        try:
            QUESTIONS[question](asker)
        except Wrong as wrong:
            if not _is_word(suffix, at) or question not in ('events', 'activity'):
                raise
            answer = asker.doctor()
            if answer.exit_code == DONE:
                raise Wrong(answer, f'a finding about what made this wrong: {wrong}', 'none') from wrong


def add_cases(cases):
    for other, new in OTHERS.items():
        for question in QUESTIONS:
            for in_place in (True, False):
                for same_time in (True, False):
                    cases.add(f'{question} after an archive {other}', _replaced,
                              new, question, in_place, same_time)
    for question in QUESTIONS:
        for what in ('archives', 'indexes', 'one index for both'):
            cases.add(f'{question}, swapped: {what}', _swapped, question, what)
        for suffixes in (['.id3'], ['.hdr'], ['.evt'], ['.id3', '.hdr', '.evt'], ['.id3', '.evt']):
            cases.add(f'{question}, other {suffixes}', _mixed_up, suffixes, question)
    files = making.index_files(SMALL)
    names = list(QUESTIONS)
    for suffix, bytes_ in files.items():
        for length in range(len(bytes_)):
            for question in ('read', 'events', names[length % len(names)]):
                cases.add(f'{question}, {suffix} cut off after {length}', _cut_off,
                          suffix, length, question)
        for at, byte in enumerate(bytes_):
            for value in {0, 255, byte ^ 255} - {byte}:
                cases.add(f'{suffix} with {value} at {at}', _changed, suffix, at, value)
