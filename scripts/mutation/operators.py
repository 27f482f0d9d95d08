"""The steps: each operator names the places of a file that it would change, one at a time, and what it makes of them."""

import re
from dataclasses import dataclass

from mutation.source import code_of, statements_of


@dataclass(frozen=True)
class Step:
    """One change: `text[start:end]` of the file becomes `new`."""
    path: str
    operator: str
    start: int
    end: int
    new: str

    def apply(self, text):
        return text[: self.start] + self.new + text[self.end :]


COMPARISON = re.compile(r" (==|!=|<=|>=|<|>) ")
TURNED = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}


def comparisons(code, _statements):
    """Turned, or with the edge on the other side. A template's brackets have no blanks around them."""
    for match in COMPARISON.finditer(code):
        yield match.start(1), match.end(1), TURNED[match[1]]


CONDITION = re.compile(r"\b(?:if|while) \(")
DECLARED = re.compile(r"(?:const )?[\w:<>, ]+[ *&]+(?:const )?(\w+) = ")

# Nothing but a negation or an equality: others turn it already.
ALONE = re.compile(r"![\w.:>()-]+|(?:(?!&&|\|\|).)*(?:==|!=)(?:(?!&&|\|\|).)*")


def _closing(code, start):
    depth = 1
    for at in range(start, len(code)):
        depth += {"(": 1, ")": -1}.get(code[at], 0)
        if depth == 0:
            return at
    return len(code)


def conditions(code, _statements):
    """Negated, and a negation taken away."""
    for match in CONDITION.finditer(code):
        start, end = match.end(), _closing(code, match.end())
        if ";" in code[start:end] and "{" not in code[start:end]:
            start += code[start:end].rindex(";") + 1
        condition = code[start:end].strip()
        declared = DECLARED.match(code, start, end)
        if declared:
            yield end, end, f"; !{declared[1]}"
        elif not ALONE.fullmatch(condition):
            yield start, end, None
    for match in re.finditer(r"!(?=[\w(:])", code):
        yield match.start(), match.end(), ""


def logic(code, _statements):
    """Both conditions where one is enough, and the other way round. Without blanks `&&` is a kind of reference."""
    for match in re.finditer(r"(?:(?<= )|(?<=\n))(&&|\|\|)(?=[ \n])", code):
        yield match.start(), match.end(), {"&&": "||", "||": "&&"}[match[1]]


NUMBER = re.compile(r"(?<![\w.'%])(0x[0-9A-Fa-f']+|\d[\d']*)([uUlLzZ]*)((?:ms|us|ns|s|min|h)?)(?![\w.'])")
# A pure function, and the room of a buffer: one more changes nothing that shows.
NO_AMOUNT = re.compile(r"(?:\)[\w ]* = |\w+ \w+\[|std::array<[\w:<>* ]+, |\bspan<[\w: ]+, )$")
# A unit of time stands on the line: one millisecond more shows nowhere, ten times as much should.
DURATION = re.compile(r"seconds|minutes|hours|from_(?:milli)?secs|duration", re.IGNORECASE)


def numbers(code, _statements):
    """One more; ten times as much for a duration that is not nought."""
    for match in NUMBER.finditer(code):
        line = code[code.rfind("\n", 0, match.start()) + 1 : match.start()]
        if NO_AMOUNT.search(line):
            continue
        value = int(match[1].replace("'", ""), 0) if match[1] == "0" or match[1][0] != "0" or "x" in match[1] else 0
        is_duration = value > 0 and (match[3] or DURATION.search(line))
        value = value * 10 if is_duration else value + 1
        yield match.start(1), match.end(1), f"0x{value:x}" if "x" in match[1] else str(value)


def flags(code, _statements):
    """True where it was false, and the other way round."""
    for match in re.finditer(r"\b(true|false)\b(?! *>)", code):
        yield match.start(), match.end(), "false" if match[1] == "true" else "true"


LOCK = re.compile(r"(?:const )?std::(?:lock_guard|scoped_lock|unique_lock|shared_lock)\b|\w+\.(?:lock|unlock)\(\);$")
NOTIFY = re.compile(r"[\w.>-]+notify_(?:one|all)\(\);$")
KEYWORD = r"(?!(?:return|delete|using|if|for|while|switch|else|do|goto|case|const|auto|static|constexpr|typedef|friend)\b)"
CALL = re.compile(KEYWORD + r"(?:static_cast<void>\()?(?:::)?[A-Za-z_][\w:]*(?:(?:\.|->)\w+|<[\w:<>, ]*>|\[[^\]]*\]|\(.*?\))*"
                  r"(?:\(.*\)|\{\})\)?;$")
ASSIGNMENT = re.compile(KEYWORD + r"\*?[A-Za-z_][\w:.>\[\]()-]* (?:[-+*/|&^%]|<<|>>)?= .*;$|(?:\+\+|--)[^ ].*;$|\w+(?:\+\+|--);$")
STREAM = re.compile(KEYWORD + r"[A-Za-z_][\w.>-]* << .*;$")
JUMP = re.compile(r"(?:return|break|continue|throw\b.*);$")
UNUSED = re.compile(r"static_cast<void>\(\w+\);$")  # only tells the compiler


def _is_call(text):
    return bool(CALL.match(text) or STREAM.match(text)) and not UNUSED.match(text)


def locks(_code, statements):
    for each in statements:
        if LOCK.match(each.text):
            yield each.start, each.end, ";"


def notifies(_code, statements):
    for each in statements:
        if NOTIFY.match(each.text):
            yield each.start, each.end, ";"


def drops(_code, statements):
    """A call, an assignment or a jump left out."""
    for each in statements:
        if LOCK.match(each.text) or NOTIFY.match(each.text):
            continue
        if _is_call(each.text) or ASSIGNMENT.match(each.text) or JUMP.match(each.text):
            yield each.start, each.end, ";"


# Of two of these each sets its own.
SETTER = re.compile(r"([\w.>-]+[.>])?(?:set\w*|bind)\(")


def _commute(first, second):
    setters = [SETTER.match(each.text) for each in (first, second)]
    return all(setters) and setters[0][1] == setters[1][1]


def swaps(code, statements):
    """Two lines that follow one another, each a whole statement. Two assignments are left alone: nothing sees them between."""
    for first, second in zip(statements, statements[1:]):
        between = code[first.end : second.start]
        if between.strip() or between.count("\n") != 1 or "\n" in code[first.start : first.end]:
            continue
        if "\n" in code[second.start : second.end] or not (_is_call(first.text) or _is_call(second.text)):
            continue
        if not _commute(first, second) and all(_is_call(each.text) or ASSIGNMENT.match(each.text) for each in (first, second)):
            yield first.start, second.end, (first, second)


OPERATORS = {"comparison": comparisons, "condition": conditions, "logic": logic, "number": numbers, "flag": flags,
             "lock": locks, "notify": notifies, "drop": drops, "swap": swaps}


def steps_of(path, text):
    """All steps of a file, in the order of their places."""
    code = code_of(text)
    statements = statements_of(code)
    found = []
    for name, operator in OPERATORS.items():
        for start, end, new in operator(code, statements):
            if new is None:
                new = f"!({text[start:end].strip()})"
            elif isinstance(new, tuple):
                first, second = new
                new = text[second.start : second.end] + text[first.end : second.start] + text[first.start : first.end]
            found.append(Step(path, name, start, end, new))
    return sorted(found, key=lambda step: (step.start, step.end, step.operator))
