"""Which steps are tried: a sample that is the same for the same sources and seed."""

import random


def strata(steps, count, seed):
    """`count` groups that follow one another through the folder, so that each file has its share, each in an order of its
    own. The first step of a group that compiles is the one that counts."""
    dice = random.Random(seed)
    count = min(count, len(steps))
    groups = []
    for at in range(count):
        group = steps[at * len(steps) // count : (at + 1) * len(steps) // count]
        dice.shuffle(group)
        groups.append(group)
    return groups
