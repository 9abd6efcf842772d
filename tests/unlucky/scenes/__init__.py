"""Each scene adds its cases."""

from scenes import bombs, clocks, every_byte, growing, one_bad_file, replaced, trimmed, whole_bytes

SCENES = {
    'whole_bytes': whole_bytes.add_cases,
    'growing': growing.add_cases,
    'replaced': replaced.add_cases,
    'one_bad_file': one_bad_file.add_cases,
    'clocks': clocks.add_cases,
    'trimmed': trimmed.add_cases,
    'every_byte': every_byte.add_cases,
    'bombs': bombs.add_cases,
}
