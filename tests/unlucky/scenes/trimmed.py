"""Files of indexes have been deleted: any of them beside the archives, or the oldest ones of a cache folder that was
full."""

import itertools

import making
from asking import QUESTIONS, Asker

ARCHIVES = making.days_of_three()
SUFFIXES = ('.id3', '.hdr', '.evt')
SUBSETS = [subset for size in range(4) for subset in itertools.combinations(SUFFIXES, size)]
SETTINGS = 'zel3index_cache'
MEGABYTE = 1 << 20


def _missing(program, place, missing, names):
    """`missing`: for each archive the files that it does not have."""
    for (name, bytes_), without in zip(ARCHIVES.items(), missing):
        place.put(name, bytes_)
        kept = {suffix: index for suffix, index in making.index_files(bytes_).items() if suffix not in without}
        place.put_index(name, kept)
    for question in names:
        QUESTIONS[question](Asker(program, place))


def _full_cache_folder(program, place, limit, filler, question):
    """`filler`: bytes of another archive's index in the folder."""
    (place.folder / 'config' / SETTINGS).write_text(f'ID3_HDR_EVT_total_MB={limit}\n')
    for name, bytes_ in ARCHIVES.items():
        place.put(name, bytes_)
    asker = Asker(program, place, options=('--cache-folder', 'full'))
    asker.run('index')
    if filler:
        (place.folder / 'full').mkdir(exist_ok=True)
        for suffix, size in (('.id3', filler // 24 * 24), ('.hdr', 8), ('.evt', 0)):
            (place.folder / 'full' / f'24.05.01 00-00-00 filler{suffix}').write_bytes(bytes(size))
    for _ in range(3):
        QUESTIONS[question](asker)


def add_cases(cases):
    names = list(QUESTIONS)
    for one in range(3):
        for subset in SUBSETS:
            missing = [subset if number == one else () for number in range(3)]
            for question in names:
                cases.add(f'{question} without {subset} of file {one}', _missing,
                          missing, [question])
    for number, missing in enumerate(itertools.product(SUBSETS, SUBSETS)):
        turned = names[number % len(names):] + names[:number % len(names)]
        cases.add(f'without {missing[0]} and {missing[1]}', _missing,
                  [*missing, missing[0]], turned)
    for limit in (0, 1):
        for filler in (0, 2 * MEGABYTE):
            for question in names:
                cases.add(f'{question} with a cache folder of {limit} MB, filled with {filler}',
                          _full_cache_folder, limit, filler, question)
