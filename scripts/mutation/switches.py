"""Many steps in one source, each behind a switch: a variable of the environment says which of them is on (switch.h).

A statement that a step drops or swaps stands in an `if`; of an expression, the smallest whole one around the step is there twice.
A declaration carries nothing, and a lock is one. What does not compile that way is found by the lines that the compiler names."""

import re

from mutation.source import LITERALS, code_of, statements_of

HEAD = '#include "scripts/mutation/switch.h"\n#line 1\n'
# Before a negation that binds closer than what stands there.
BEFORE_NEGATION = re.compile(r"(?:[(,{?;&|]|[^=!<>]=|\breturn)\s*$")
PIECE_BEGINS = re.compile(r"(?:[;,]|\s(?:[-+*/|&^%]|<<|>>)?=|\breturn|\bthrow)\s$")
CONSTANT = re.compile(r"(?:^|(?<=[;{}]))\s*((?:inline |static )*)constexpr [^;(){}]*$")
NAMED = re.compile(r"([\w.-]+(?:/[\w.-]+)*\.(?:cpp|h)):(\d+)")


def _on_one_line(text):
    """Without comments and line breaks, so that the lines of what follows keep their numbers."""
    code = LITERALS.sub(lambda match: "" if match[0][0] == "/" else match[0], text)
    return " ".join(line.strip() for line in code.split("\n"))


def _piece(code, start, end, statements):
    """The bounds of the smallest expression in brackets, between commas or behind an assignment that holds the step."""
    floor = max((each.start for each in statements if each.start <= start and end <= each.end), default=0)
    depth = 0
    while start > floor:
        depth += {")": 1, "]": 1, "}": 1, "(": -1, "[": -1, "{": -1}.get(code[start - 1], 0)
        if depth < 0 or (depth == 0 and PIECE_BEGINS.search(code, max(floor, start - 7), start)):
            break
        start -= 1
    depth = 0
    while end < len(code):
        depth += {"(": 1, "[": 1, "{": 1, ")": -1, "]": -1, "}": -1}.get(code[end], 0)
        if depth < 0 or (depth == 0 and code[end] in ";,"):
            break
        end += 1
    return start, end


def _constant(code, start, statements):
    """What makes a constant one that is only known when the program starts; nothing where it is none."""
    head = CONSTANT.search(code, 0, start)
    if not head:
        return []
    at = code.index("constexpr", head.start(1))
    in_body = any(each.start <= start < each.end for each in statements)
    return [(at, at + len("constexpr"), "const" if in_body or head[1] != "static " else "inline const")]


def edits_of(text, step, number):
    """The step behind its switch: what is to be put in the place of which characters. None when nothing can carry it."""
    if step.operator == "lock":
        return []
    code = code_of(text)
    statements = statements_of(code)
    start, end, turned = step.start, step.end, f"::mutation::is({number})"
    if step.operator in ("drop", "notify"):
        return [(start, end, f"{{ if (!{turned}) {{ {text[start:end]} }} }}")]
    if step.operator == "swap":
        return [(start, end, f"{{ if ({turned}) {{ {_on_one_line(step.new)} }} else {{ {text[start:end]} }} }}")]
    if step.operator == "condition" and start == end:
        return [(start, end, f"; {turned} == {step.new.removeprefix('; ')}")]
    if step.operator == "condition" and step.new:
        return [(start, end, f"{turned} != static_cast<bool>({text[start:end]})")]
    if step.operator == "condition" and BEFORE_NEGATION.search(code, max(0, start - 80), start):
        return [(start, end, f"{turned} != !")]
    first, last = _piece(code, start, end, statements)
    old = text[first:last]
    new = _on_one_line(text[first:start] + step.new + text[end:last])
    if re.search(r"^\s*#", old, re.MULTILINE):
        return []
    return [*_constant(code, first, statements), (first, last, f"({turned} ? ({new}) : ({old}))")]


class Together:
    """Steps of several sources that share one build, each with a number from 1 on."""

    def __init__(self, texts, steps):
        self._texts, self._edits, self.numbers, self.overlapping = texts, {}, {}, []
        for number, step in enumerate(steps, 1):
            edits = edits_of(texts[step.path], step, number)
            if any(self._meets(step, edit) for edit in edits):
                self.overlapping.append(step)
            elif edits:
                self._edits[step], self.numbers[step] = edits, number

    def _meets(self, step, edit):
        return any(edit[0] <= end and start <= edit[1]
                   for other, edits in self._edits.items() if other.path == step.path for start, end, _ in edits)

    def sources(self):
        """Each file that had a step at first, with those that it has now."""
        changed = {}
        for path, text in self._texts.items():
            edits = sorted((edit for step in self.numbers if step.path == path for edit in self._edits[step]), reverse=True)
            for start, end, new in edits:
                text = text[:start] + new + text[end:]
            changed[path] = HEAD + text if edits else text
        return changed

    def leave_out(self, said):
        """Leaves out the steps on lines that the compiler has named; all of the named files, or all, when it names none."""
        named = {(name.lstrip("./"), int(line)) for name, line in NAMED.findall(said)}
        lines = [step for step in self.numbers if any(self._is_on(step, name, line) for name, line in named)]
        files = [step for step in self.numbers if any(name.endswith(step.path) for name, _ in named)]
        for step in lines or files or list(self.numbers):
            del self.numbers[step]

    def _is_on(self, step, name, line):
        count = self._texts[step.path].count
        return name.endswith(step.path) and any(count("\n", 0, start) < line <= count("\n", 0, end) + 1
                                                for start, end, _ in self._edits[step])
