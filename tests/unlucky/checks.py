"""Compares the program's answers with what the archives hold: nothing wrong with exit 0, and never anything made up.

Each check gets the archives as they are now, as framing.Content by name, and throws Wrong.
"""

from collections import Counter

from client import as_shown
from framing import HEADER_MARKER, INDEX_MARKER, INDEX_SIZE, places, record_end

DONE, FAILED, LEFT_OUT, NOTHING = 0, 1, 3, 4
# More bytes outside records than any archive here has; after them the search stops.
MOST_UNKNOWN = 1 << 16


class Wrong(Exception):
    def __init__(self, answer, expected, came):
        super().__init__(f'{answer.command}\n    expected: {expected}\n    came:     {came}'
                         f'\n    exit {answer.exit_code}, told: {answer.told[-300:]!r}')


class Score:
    """How many of the whole bytes have been handed out."""

    def __init__(self):
        self.whole = 0
        self.served = 0

    def add(self, whole, served):
        self.whole += whole
        self.served += served


def ended_well(answer, allowed=(DONE, FAILED, LEFT_OUT, NOTHING)):
    if answer.exit_code < 0:
        raise Wrong(answer, 'an end by itself and in time', f'signal {-answer.exit_code}')
    if answer.exit_code not in allowed:
        raise Wrong(answer, f'exit {allowed}', f'exit {answer.exit_code}')
    return answer


def untouched(answer, place):
    changed = place.changed()
    if changed:
        raise Wrong(answer, 'archives as they were', f'{changed} changed')


def _head(bytes_, place):
    """A key that differs for most records."""
    head = bytes(bytes_[place:place + 4])
    return bytes(bytes_[place:place + INDEX_SIZE]) if head == INDEX_MARKER else head


def _both(mask, other):
    """How many places are set in both."""
    return (int.from_bytes(mask, 'big') & int.from_bytes(other, 'big')).bit_count()


class Matching:
    """Which bytes of which archives an output consists of."""

    def __init__(self, output, contents):
        self.served = {name: bytearray(len(content.bytes)) for name, content in contents.items()}
        self.unknown = 0   # bytes outside any record
        self.repeated = 0  # records, except headers
        self._contents = contents
        self._by_head = {}
        for name, content in contents.items():
            for start in sorted(content.served_places()):
                end = record_end(content.bytes, start)
                self._by_head.setdefault(_head(content.bytes, start), []).append((name, start, end))
        self._match(output)

    def _match(self, output):
        at, next_ = 0, None
        while at < len(output):
            fits = [place for place in self._by_head.get(_head(output, at), ())
                    if output.startswith(self._bytes_of(place), at)]
            fresh = [place for place in fits if not self._is_served(place)]
            following = [place for place in fresh if place[:2] == next_]
            if not fits:
                self.unknown += 1
                at += 1
                if self.unknown > MOST_UNKNOWN:
                    return
                continue
            name, start, end = (following or fresh or fits)[0]
            if not fresh and output[at:at + 4] != HEADER_MARKER:
                self.repeated += 1
            self.served[name][start:end] = b'\1' * (end - start)
            at += end - start
            next_ = (name, end)

    def _bytes_of(self, place):
        name, start, end = place
        return self._contents[name].bytes[start:end]

    def _is_served(self, place):
        name, start, end = place
        return all(self.served[name][start:end])

    def missing(self):
        """The places of bytes that are not served, by name; headers that nothing follows do not count."""
        return {name: [place for place, served in enumerate(mask) if not served]
                for name, mask in self.served.items() if not all(mask)}

    def left_out(self, name):
        """Whether bytes are missing that belong to an entry, to the header of one, or to no record."""
        content = self._contents[name]
        return (content.damaged and not all(self.served[name]) or
                _both(content.whole, self.served[name]) < sum(content.whole))

    def whole_bytes(self):
        return sum(sum(content.whole) for content in self._contents.values())

    def served_bytes(self):
        return sum(_both(content.whole, self.served[name]) for name, content in self._contents.items())


def read_everything(answer, contents, score=None, exits=(DONE, LEFT_OUT)):
    """The caller checks `score`; without it, everything whole must be there."""
    holds_entries = any(content.entries for content in contents.values())
    ended_well(answer, (DONE, FAILED, LEFT_OUT, NOTHING) if score or not holds_entries else exits)
    if answer.exit_code == NOTHING and holds_entries:
        raise Wrong(answer, 'entries', 'nothing')
    matching = Matching(answer.output, contents)
    whole, served = matching.whole_bytes(), matching.served_bytes()
    if score:
        score.add(whole, served)
    if answer.exit_code in (DONE, LEFT_OUT):
        if matching.unknown and (answer.exit_code == DONE or
                                 not any(content.damaged for content in contents.values())):
            raise Wrong(answer, 'whole records of the archives', f'{matching.unknown} other bytes')
        if matching.repeated:
            raise Wrong(answer, 'each record once', f'{matching.repeated} again')
    if answer.exit_code == DONE:
        for name in contents:
            if matching.left_out(name):
                raise Wrong(answer, f'exit 3, or all bytes of {name!r}', _in_words(matching.missing()[name]))
    if answer.exit_code == LEFT_OUT and not answer.told and not answer.read_counts_damage():
        raise Wrong(answer, 'a word about what is missing', 'none')
    if not score and served < whole:
        raise Wrong(answer, f'all {whole} whole bytes', f'{served}')


def _in_words(missing):
    return f'{len(missing)} bytes missing from {missing[0]} to {missing[-1]}' if missing else 'all'


def read_range(answer, contents, first, last):
    """Entries from `first` up to `last` must be there, and at most one more of each file on each side."""
    ended_well(answer, (DONE, LEFT_OUT))
    matching = Matching(answer.output, contents)
    if matching.unknown or matching.repeated:
        raise Wrong(answer, 'whole records, once', f'{matching.unknown} other bytes, {matching.repeated} again')
    for name, content in contents.items():
        outside = {'before': 0, 'after': 0}
        for entry in content.entries:
            served = matching.served[name][entry.start]
            inside = first <= entry.archive_time < last
            if inside and not served:
                raise Wrong(answer, f'the entry of {entry.archive_time}', 'it is missing')
            if served and not inside:
                outside['before' if entry.archive_time < first else 'after'] += 1
        if max(outside.values()) > 1:
            raise Wrong(answer, 'only entries of the range', outside)


def events(answer, contents, exits=(DONE, LEFT_OUT), complete=False):
    """`complete`: everything whole must be there, whatever the exit code."""
    sure = Counter(event for content in contents.values() for event in content.events())
    possible = sure | Counter(event for content in contents.values() for event in content.possible_events())
    ended_well(answer, exits if sure else (*exits, NOTHING))
    if answer.exit_code not in (DONE, LEFT_OUT):
        return
    came = Counter(answer.events())
    if came - possible:
        raise Wrong(answer, 'only events of the archives', sorted(came - possible))
    if (answer.exit_code == DONE or complete) and sure - came:
        raise Wrong(answer, 'every event', f'without {sorted(sure - came)}')


def seek(answer, contents, time, exits=(DONE, LEFT_OUT)):
    """`time` is in archive time; the answer is the entry at or before it."""
    ended_well(answer, (*exits, NOTHING))
    if answer.exit_code == NOTHING:
        if any(entry.archive_time == time for content in contents.values() for entry in content.entries):
            raise Wrong(answer, f'the entry of {time}', 'nothing')
        return
    if answer.exit_code not in (DONE, LEFT_OUT):
        return
    came = answer.found_time()
    if came is None and answer.exit_code == LEFT_OUT:
        return
    holders = set()
    for content in contents.values():
        times = [entry_time for _, entry_time in content.possible_entries()]
        # An entry holds the time up to the next one, and so does the last one of a file.
        holders |= {here for here, after in zip(times, times[1:] + [None])
                    if here <= time and (after is None or time < after or after < here)}
        sound = [entry.archive_time for entry in content.entries]
        holders |= {here for here, after in zip(sound, sound[1:]) if here <= time < after}
        if answer.exit_code == LEFT_OUT:
            holders |= {here for here in sound[-1:] if here <= time}
    # For a gap between files the answer is the first entry after it.
    spans = [[entry.archive_time for entry in content.entries] for content in contents.values() if content.entries]
    if not any(times[0] <= time < times[-1] for times in spans):
        holders |= set(sorted(times[0] for times in spans if times[0] > time)[:1])
    is_exact = any(entry.archive_time == time for content in contents.values() for entry in content.entries)
    if is_exact and came != time or came not in holders:
        raise Wrong(answer, f'an entry that holds {time}: {sorted(holders)}', came)


def info(answer, contents, exits=(DONE, LEFT_OUT), complete=False):
    _files(answer, contents, exits, complete)
    if answer.exit_code == DONE:
        for name, streams in answer.streams().items():
            content = next(content for key, content in contents.items() if as_shown(key) == name)
            if not content.damaged and streams != content.streams:
                raise Wrong(answer, f'streams {content.streams} of {name!r}', streams)


def index(answer, contents, exits=(DONE, LEFT_OUT), complete=False):
    _files(answer, contents, exits, complete)


def _files(answer, contents, exits, complete):
    holding = {as_shown(name): content for name, content in contents.items() if content.entries}
    ended_well(answer, exits if holding else (*exits, FAILED, NOTHING))
    if answer.exit_code not in (DONE, LEFT_OUT):
        return
    came = {name: (start, end) for name, start, end in answer.files()}
    for name, content in holding.items():
        if name not in came:
            if complete or answer.exit_code == DONE:
                raise Wrong(answer, f'the file {name!r}', sorted(map(str, came)))
            continue
        times = places([entry.archive_time for entry in content.entries])
        starts, ends = {min(times)}, {max(times)}
        if content.damaged:
            possible = places([time for _, time in content.possible_entries()])
            starts.add(min(possible))
            ends.add(max(possible))
        start, end = came[name]
        unknown = answer.exit_code == LEFT_OUT and not complete
        if not (start in starts or unknown and start is None) or not (end in ends or unknown):
            raise Wrong(answer, f'{name!r} from {sorted(starts)} to {sorted(ends)}', f'{start} to {end}')


def activity(answer, contents, stream, width, exits=(DONE, LEFT_OUT), complete=False):
    """For bins of `width` archive times."""
    ended_well(answer, (*exits, NOTHING))
    entries = [entry for content in contents.values() for entry in content.entries]
    if answer.exit_code == NOTHING:
        return
    if answer.exit_code not in (DONE, LEFT_OUT):
        return
    damaged = any(content.damaged or content.undeclared for content in contents.values())
    for time, level, recorded in answer.bins():
        inside = [entry for entry in entries if time <= entry.archive_time < time + width]
        highest = max((entry.levels.get(stream, 0) for entry in inside), default=0)
        if level > highest and not damaged:
            raise Wrong(answer, f'level {highest} at {time}', level)
        if answer.exit_code == LEFT_OUT and not complete:
            continue
        if inside and not recorded:
            raise Wrong(answer, f'something recorded at {time}', 'nothing')
        if level < highest:
            raise Wrong(answer, f'level {highest} at {time}', level)


def preview(answer, contents, exits=(DONE, LEFT_OUT), complete=False):
    """For positions at which something is recorded."""
    ended_well(answer, exits)
    if answer.exit_code not in (DONE, LEFT_OUT):
        return
    times = {time for content in contents.values() for _, time in content.possible_entries()}
    for shown in answer.shown_times():
        if shown is None and (complete or answer.exit_code == DONE) or shown is not None and shown not in times:
            raise Wrong(answer, 'an entry of the archives at each position', answer.shown_times())


def doctor(answer, contents, sound=False, exits=(DONE, FAILED, LEFT_OUT)):
    """`sound`: nothing is wrong with the indexes either."""
    ended_well(answer, exits)
    hurt = [name for name, content in contents.items() if content.damaged or content.undeclared]
    if hurt and answer.exit_code == DONE:
        raise Wrong(answer, f'exit 3 for {hurt}', answer.said[:300])
    if sound and not hurt and (answer.exit_code != DONE or answer.findings()):
        raise Wrong(answer, 'no finding', answer.said[-300:])


def report(answer, contents, exits=(DONE, LEFT_OUT)):
    ended_well(answer, exits)
    if answer.exit_code in (DONE, LEFT_OUT):
        for name, content in contents.items():
            if content.entries and not answer.output.count(as_shown(name)[:5].encode()):
                raise Wrong(answer, f'a page about {name!r}', f'{len(answer.output)} bytes without it')


def names_what_is_left_out(answer, name):
    if answer.exit_code != LEFT_OUT:
        raise Wrong(answer, f'exit 3 because of {name!r}', f'exit {answer.exit_code}')
    if not answer.names(name):
        raise Wrong(answer, f'a word about {name!r}', answer.said[:200])


