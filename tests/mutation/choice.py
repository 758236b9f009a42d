# SPDX-License-Identifier: Apache-2.0
"""Which candidates become mutants. Each has a rank, made of the seed and its key: an edit elsewhere
does not alter it, so that nearly the same ones are chosen after it."""

import hashlib

# A table of a thousand numbers counts as this many candidates.
MOST_OF_FILE = 400
FEWEST_OF_FILE = 2


def rank(candidate, seed):
    return hashlib.sha256(f"{seed}\n{candidate.key}".encode()).digest()


def by_file(candidates, count, seed):
    """Lists to draw from, one a file, and how many of each: in proportion to the candidates, about
    `count` in all, a few of every file."""
    files = {}
    for candidate in candidates:
        files.setdefault(candidate.file, []).append(candidate)
    sizes = {file: min(len(found), MOST_OF_FILE) for file, found in files.items()}
    total = sum(sizes.values())
    drawn = []
    for file, found in files.items():
        share = max(FEWEST_OF_FILE, round(count * sizes[file] / total))
        drawn.append((sorted(found, key=lambda c: rank(c, seed)), share))
    return drawn


def sample(candidates, count, seed):
    """The same for a few of all files. Changes of headers are left out: each would mean compiling up
    to sixty files."""
    found = [c for c in candidates if not c.file.endswith(".h")]
    return [(sorted(found, key=lambda c: rank(c, seed)), count)]
