"""Shows that each scene accepts right answers and notices wrong ones."""

import tempfile

from cases import Cases
from client import Place, Program
from scenes import SCENES
from stand_in import ALTERATIONS, StandIn

MOST_CASES = 90

# Only one scene measures.
MEASURED = {'takes_its_time', 'takes_memory'}

# What a scene cannot notice, because it does not ask for it, or because all its archives are sound.
BLIND = {
    'whole_bytes': {'says_that_all_is_well'},
    'trimmed': {'says_that_all_is_well'},
    'replaced': {'says_that_all_is_well'},
    'clocks': {'paints_quiet', 'shows_nothing'},
    'every_byte': {'shows_nothing'},
}


def _wrong(scene, program):
    with tempfile.TemporaryDirectory(prefix='unlucky.') as folder:
        cases = Cases(scene, program, folder, MOST_CASES, on_trial=True)
        SCENES[scene](cases)
        cases.run()
        return cases


def _notices_a_hang():
    with tempfile.TemporaryDirectory(prefix='unlucky.') as folder:
        return Program('/bin/sleep', slowness=0.02).run(Place(folder + '/place'), '60').exit_code < 0


def play(scene):
    right = _wrong(scene, StandIn())
    good = not right.wrong
    if not good:
        print(f'{scene} refuses right answers')
        right.show()
    for alter in ALTERATIONS:
        blind = alter.__name__ in BLIND.get(scene, ())
        if alter.__name__ in MEASURED and scene != 'bombs':
            continue
        if bool(_wrong(scene, StandIn(alter)).wrong) == blind:
            print(f'{scene}: {alter.__name__} is {"noticed after all" if blind else "not noticed"}')
            good = False
    if not _notices_a_hang():
        print('a program that hangs is not noticed')
        good = False
    if good:
        print(f'{scene} notices what it should')
    return good
