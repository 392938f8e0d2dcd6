"""What matters of the output of a test that GoogleTest ran."""

import re

MOST_LINES = 40  # of one failed test
LAST_LINES = 15  # of one that ended without a failed expectation: a crash, a script
LONGEST_LIST = 160  # characters of a list that is printed whole

# What GoogleTest prints around the output of a test.
MARKER = re.compile(r"\[[ A-Z=-]{10}\]")
CHATTER = re.compile(
    MARKER.pattern + r"|Running main\(\) from |Note: Google Test filter = | ?\d+ FAILED TESTS?$|  YOU HAVE \d+ DISABLED TESTS?$"
)
FAILURE = re.compile(r"(?:\S.*:\d+|unknown file): Failure$")
SKIPPED = re.compile(r"(?:\S.*:\d+|unknown file): Skipped$")
SANITIZER = re.compile(r"==\d+==ERROR: |.*: runtime error: ")
VALUE = re.compile(r"    Which is: (.*)$")
ITEM = re.compile(r'"(?:[^"\\]|\\.)*"')


def blocks(output, head):
    """The texts that begin with such a line, each up to GoogleTest's next one."""
    found, current = [], None
    for line in output:
        if head.match(line):
            current = [line]
            found.append(current)
        elif MARKER.match(line):
            current = None
        elif current is not None:
            current.append(line)
    return [without_blank_ends(block) for block in found]


def without_blank_ends(lines):
    begin, end = 0, len(lines)
    while begin < end and not lines[begin].strip():
        begin += 1
    while end > begin and not lines[end - 1].strip():
        end -= 1
    return lines[begin:end]


def items_of(value):
    """Those of a list of texts as GoogleTest prints it; none where it is anything else."""
    if not value.startswith('{ "') or not value.endswith(" }"):
        return None
    items = ITEM.findall(value)
    if value.endswith(", ... }"):
        items.append("...")
    return items if "{ " + ", ".join(items) + " }" == value else None


def differing_items(first, second):
    """What is left of two lists without their equal beginnings and ends."""
    first, second = list(first), list(second)
    equal = 0
    while first and second and first[0] == second[0]:
        del first[0], second[0]
        equal += 1
    while first and second and first[-1] == second[-1]:
        del first[-1], second[-1]
        equal += 1
    return first, second, equal


def as_value(items, equal):
    rest = f"and {equal} equal" if items else f"only {equal} equal"
    return "    Which is: " + ", ".join([*items, rest])


def with_short_lists(block):
    """Of two long lists that are not equal, only the items that differ."""
    places = [place for place, line in enumerate(block) if VALUE.match(line)]
    lists = [items_of(VALUE.match(block[place])[1]) for place in places]
    if len(lists) != 2 or None in lists or max(len(block[place]) for place in places) <= LONGEST_LIST:
        return block
    first, second, equal = differing_items(*lists)
    if not first and not second:
        return block  # they differ behind what GoogleTest prints of them
    block = list(block)
    block[places[0]], block[places[1]] = as_value(first, equal), as_value(second, equal)
    return block


def with_difference_only(block):
    """Of two texts of several lines, GoogleTest prints both, and then how they differ."""
    if "With diff:" not in block or not any(VALUE.match(line) for line in block):
        return block
    values = next(place for place, line in enumerate(block) if VALUE.match(line))
    return block[:values] + block[block.index("With diff:") :]


def last_words(output):
    """A sanitizer's report from its beginning, else the last lines that the test itself printed."""
    for number, line in enumerate(output):
        if SANITIZER.match(line):
            return output[number:]
    own = without_blank_ends([line for line in output if not CHATTER.match(line)])
    return own[-LAST_LINES:]


def what_matters(output, ended_by_itself=True):
    """The failed expectations of a test; its last lines where there are none, or where something else ended it."""
    lines = []
    for block in blocks(output, FAILURE):
        lines += with_difference_only(with_short_lists(block))
    if not lines or not ended_by_itself:
        lines += [line for line in last_words(output) if line not in lines]
    if len(lines) > MOST_LINES:
        lines = lines[:MOST_LINES] + [f"... and {len(lines) - MOST_LINES} more lines"]
    return lines


def reason_to_skip(output):
    reasons = [" ".join(part.strip() for part in block[1:] if part.strip()) for block in blocks(output, SKIPPED)]
    return "; ".join(reason for reason in reasons if reason) or "no reason given"
