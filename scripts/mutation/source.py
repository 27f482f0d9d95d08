"""Which characters of a C++ file are code that a step may change, and where its statements stand."""

import re
from dataclasses import dataclass

# Blanked calls, each with the reason why a step in it says nothing about the tests.
LEFT_OUT_CALLS = [
    # Texts for people. Whether each line is there at all is what scripts/check-log-lines holds against the operations page.
    r"LOG(?:4CXX)?_\w+",
    # The compiler judges these, not a test.
    r"static_assert", r"alignas", r"sizeof", r"decltype",
    # Bugs stop there; no caller that keeps to the contract reaches them.
    r"assert",
    # Room asked for ahead of time is speed, not behaviour.
    r"[\w.>-]+[.>](?:reserve|shrink_to_fit)",
]
LEFT_OUT = re.compile(r"\b(?:" + "|".join(LEFT_OUT_CALLS) + r")\(")
LITERALS = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:[^"\\\n]|\\.)*"|(?<![0-9A-Fa-f])\'(?:[^\'\\\n]|\\.)+\'',
                      re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)


@dataclass(frozen=True)
class Statement:
    """A statement in a function's body, from its first character to behind its semicolon."""
    start: int
    end: int
    text: str


def _blank(text):
    return re.sub(r"[^\n]", " ", text)


def _end_of_call(code, start):
    """Behind the parenthesis that closes the one before `start`."""
    depth, at = 1, start
    while depth and at < len(code):
        depth += {"(": 1, ")": -1}.get(code[at], 0)
        at += 1
    return at


def code_of(text):
    """The text with comments, literals of characters, preprocessor lines and what is left out blanked, of the same length."""
    code = LITERALS.sub(lambda match: _blank(match[0]) if match[0][0] == "/" else '"' + _blank(match[0][1:-1]) + '"', text)
    code = DIRECTIVE.sub(lambda match: _blank(match[0]), code)
    at = 0
    while call := LEFT_OUT.search(code, at):
        at = _end_of_call(code, call.end())
        code = code[: call.start()] + _blank(code[call.start() : at]) + code[at:]
    return code


LAMBDA = re.compile(r"\[[^\]]*\]\s*(?:\([^{}]*\))?\s*(?:mutable|noexcept)?\s*(?:->[\w\s:<>*&]+)?$")
SCOPE = re.compile(r"^(?:template\s*<.*>\s*)?(?:inline\s+)?(?:namespace|class|struct|union|enum|extern)\b", re.DOTALL)
CONTROL = re.compile(r"^(?:if|for|while|switch|catch)\b|^(?:else|do|try)\b")
FUNCTION_END = re.compile(r"(?:[)}]|\b(?:const|noexcept|override|final|try))\s*$|->\s*[\w:<>*&\s]+$")
LABEL = re.compile(r"\s*(?:case\b(?:[^:;{}]|::)+|default|public|private|protected):(?!:)")


def _without_labels(code, start, end):
    while label := LABEL.match(code, start, end):
        start = label.end()
    while start < end and code[start].isspace():
        start += 1
    return start


def _kind_of_block(head, in_function, in_parenthesis):
    """What an opening brace begins: a scope of declarations, a body of statements, a lambda's body or an initializer."""
    if LAMBDA.search(head):
        return "lambda"
    if in_parenthesis:
        return "initializer"
    if SCOPE.match(head):
        return "scope"
    if not head or CONTROL.match(head) or (FUNCTION_END.search(head) and not in_function and "=" not in head.split("(")[0]):
        return "body"
    return "initializer"


def statements_of(code):
    """Every statement that ends with a semicolon and stands in a function's body, lambdas included, in order of its end."""
    found, stack, start = [], [], 0
    for at, character in enumerate(code):
        if character in "([":
            stack.append((character, start))
        elif character in ")]":
            if stack:
                stack.pop()
        elif character == "{":
            in_function = any(kind in ("body", "lambda") for kind, _ in stack)
            in_parenthesis = bool(stack) and stack[-1][0] in ("(", "[", "initializer")
            head = code[_without_labels(code, start, at) : at].strip()
            stack.append((_kind_of_block(head, in_function, in_parenthesis), start))
            if stack[-1][0] != "initializer":
                start = at + 1
        elif character == "}" and stack:
            kind, outer = stack.pop()
            start = at + 1 if kind in ("body", "scope") else outer
        elif character == ";" and (not stack or stack[-1][0] not in ("(", "[")):
            if stack and stack[-1][0] in ("body", "lambda"):
                first = _without_labels(code, start, at)
                found.append(Statement(first, at + 1, " ".join(code[first : at + 1].split())))
            start = at + 1
    return found
