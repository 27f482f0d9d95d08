"""Which steps are tried: a sample that is the same for the same sources and seed."""

import random

from mutation.excuses import changed_lines


def one_of_each_line(steps, texts, dice):
    """Of the steps that an operator would make on one line one, so that tables of numbers do not crowd out the code."""
    lines = {}
    for step in steps:
        line = texts[step.path].count("\n", 0, step.start)
        lines.setdefault((step.path, line, step.operator), []).append(step)
    return [dice.choice(alternatives) for alternatives in lines.values()]


def strata(steps, count, dice):
    """`count` groups that follow one another through the folder, so that each file has its share, each in an order of its
    own. The first step of a group that compiles is the one that counts."""
    count = min(count, len(steps))
    groups = []
    for at in range(count):
        group = steps[at * len(steps) // count : (at + 1) * len(steps) // count]
        dice.shuffle(group)
        groups.append(group)
    return groups


def sample(steps, texts, count, seed):
    """The groups of `count` steps, spread over the files."""
    dice = random.Random(seed)
    return strata(one_of_each_line(steps, texts, dice), count, dice)


def unnoticed_before(steps, texts, data):
    """The steps that an earlier run, whose data these are, has left unnoticed in the same sources; each a group of its own."""
    wanted = {(each["path"], each["operator"], tuple(each["old"]), tuple(each["new"]), each["line"]) for each in data["steps"]
              if each["by"] == "unnoticed"}
    return [[step] for step in steps if (step.path, step.operator, *changed_lines(texts[step.path], step)) in wanted]
