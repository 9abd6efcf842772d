"""Runs the cases of a scene, two at a time, and collects what was wrong."""

import itertools
import pathlib
import random
import sys
import traceback
from concurrent.futures import ThreadPoolExecutor

from checks import Score, Wrong
from client import Place

SHOWN = 8
NAMED = 20
ENOUGH = 0.99


class Cases:
    def __init__(self, scene, program, folder, most=None, on_trial=False):
        """`most`: run only this many cases, from all over the scene. `on_trial`: the scene itself is being tested."""
        self.scene = scene
        self.program = program
        self.score = Score()
        self.wrong = []
        self.count = 0
        self._folder = pathlib.Path(folder)
        self.on_trial = on_trial
        self.is_short = on_trial or most is not None  # large files take too long
        self._most = most
        self._cases = []
        self._numbers = itertools.count()

    def add(self, name, play, *arguments):
        """`play` gets the program, a new place and the arguments."""
        self._cases.append((name, play, arguments))

    def run(self):
        """Returns whether nothing was wrong."""
        chosen = self._cases
        if self._most is not None and self._most < len(chosen):
            chosen = random.Random(len(chosen)).sample(chosen, self._most)
        with ThreadPoolExecutor(2) as threads:
            list(threads.map(self._run, chosen))
        self.count = len(chosen)
        whole, served = self.score.whole, self.score.served
        if served < whole * ENOUGH:
            self.wrong.append(('all cases', f'served are {served} of {whole} whole bytes'))
        return not self.wrong

    def show(self):
        share = f', {self.score.served / self.score.whole:.2%} of the whole bytes' if self.score.whole else ''
        print(f'{self.scene}: {self.count} cases, {len(self.wrong)} wrong{share}')
        for name, text in self.wrong[:SHOWN]:
            print(f'  {name}\n    {text}')
        named = [name for name, _ in self.wrong[SHOWN:SHOWN + NAMED]]
        if named:
            print('  and in: ' + '; '.join(named) + (' ...' if len(self.wrong) > SHOWN + NAMED else ''))
        sys.stdout.flush()

    def _run(self, case):
        name, play, arguments = case
        place = Place(self._folder / f'{self.scene}{next(self._numbers)}')
        try:
            play(self.program, place, *arguments)
        except Wrong as wrong:
            self.wrong.append((name, str(wrong)))
        except Exception as error:  # an answer that is not of the expected shape
            where = traceback.extract_tb(error.__traceback__)[-1]
            file = pathlib.Path(where.filename).name
            self.wrong.append((name, f'{type(error).__name__}: {error} ({file}:{where.lineno})'))
        finally:
            place.remove()
