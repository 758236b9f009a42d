# SPDX-License-Identifier: Apache-2.0
"""The list of mutants that no test can tell from the original: a line with the key of each, and below
it, indented, why."""


def read(path):
    """The reasons by their keys."""
    reasons = {}
    key = None
    for line in path.read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        if not line[0].isspace():
            key = line.strip()
            if key in reasons:
                raise SystemExit(f"{path.name} has twice: {key}")
            reasons[key] = ""
        elif key is None:
            raise SystemExit(f"{path.name} starts with a reason")
        else:
            reasons[key] = f"{reasons[key]} {line.strip()}".strip()
    bare = [key for key, reason in reasons.items() if not reason]
    if bare:
        raise SystemExit(f"{path.name} does not say why: {bare[0]}")
    return reasons
