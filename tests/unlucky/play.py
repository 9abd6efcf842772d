#!/usr/bin/env python3
"""Plays ignorant and unlucky people: archives that grow, get replaced, broken or mixed up, and clocks that go wrong.
The program must never give a wrong answer with exit 0, hand out at least 99 % of the bytes that are whole, change no
archive, and end by itself and soon.

    play.py [--instrumented] PROGRAM SCENE...
    play.py --self-test SCENE...

--instrumented   the program is slowed down by sanitizers: it gets more time and fewer cases, and memory is not measured
--self-test      shows that each scene accepts a program that is right, and no other

Ends with 1 when something was wrong.
"""

import sys
import tempfile

import self_test
from cases import Cases
from client import Program
from scenes import SCENES

INSTRUMENTED_SLOWNESS = 10
MOST_INSTRUMENTED_CASES = 60


def play(scene, program):
    with tempfile.TemporaryDirectory(prefix='unlucky.') as folder:
        most = MOST_INSTRUMENTED_CASES if program.slowness > 1 else None
        cases = Cases(scene, program, folder, most)
        SCENES[scene](cases)
        right = cases.run()
        cases.show()
        return right


def main(words):
    options = {word for word in words if word.startswith('--')}
    words = [word for word in words if word not in options]
    if options == {'--self-test'} and all(word in SCENES for word in words):
        return all([self_test.play(scene) for scene in words])
    if options <= {'--instrumented'} and len(words) > 1 and all(word in SCENES for word in words[1:]):
        program = Program(words[0], INSTRUMENTED_SLOWNESS if options else 1)
        return all([play(scene, program) for scene in words[1:]])
    sys.exit(__doc__ + '\nScenes: ' + ' '.join(SCENES))


if __name__ == '__main__':
    sys.exit(0 if main(sys.argv[1:]) else 1)
