"""Finds the mutants of a source file: each is the file with one small change that breaks it."""

import dataclasses
import hashlib
import re


@dataclasses.dataclass(frozen=True)
class Mutant:
    """Identified by its texts, so that it stays the same when the line moves."""

    file: str
    kind: str
    old: str  # the line, or two of them
    new: str
    occurrence: int  # of the same change in the same file
    first_line: int  # from 0

    @property
    def name(self):
        again = f" ({self.occurrence})" if self.occurrence > 1 else ""
        return f"{self.file} | {one_line(self.old)} -> {one_line(self.new)}{again}"

    @property
    def rank(self):
        """A number from 0 to 1, spread evenly and always the same."""
        digest = hashlib.sha256(self.name.encode()).digest()
        return int.from_bytes(digest[:4], "big") / 2**32

    def apply(self, source):
        lines = source.split("\n")
        count = self.old.count("\n") + 1
        lines[self.first_line : self.first_line + count] = self.new.split("\n")
        return "\n".join(lines)


def one_line(text):
    return " ".join(text.split()) or "(nothing)"


TOKENS = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.DOTALL)


def code_only(source):
    """Of the same shape, with blanks in place of comments, and of what quotes hold."""

    def blank(match):
        text = match.group()
        if text[0] == "/":
            return re.sub(r"[^\n]", " ", text)
        return text[0] + " " * (len(text) - 2) + text[0]

    return TOKENS.sub(blank, source)


SWAPS = {
    "comparison": {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"},
    "direction": {"<": ">", ">": "<", "<=": ">", ">=": "<"},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*"},
    "bits": {"&": "|", "|": "&"},
    "assignment": {"+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="},
}
WORDS = {
    "true": "false", "false": "true", "continue": "break",
    "std::max": "std::min", "std::min": "std::max",
    "htonl": "", "ntohl": "", "htons": "", "SIG_BLOCK": "SIG_UNBLOCK", "SIG_UNBLOCK": "SIG_BLOCK",
    "SIG_IGN": "SIG_DFL", "INADDR_ANY": "INADDR_LOOPBACK", "XDR_ENCODE": "XDR_DECODE",
    "_IOLBF": "_IOFBF", "FDLOOP_READ": "FDLOOP_WRITE", "FDLOOP_WRITE": "FDLOOP_EXCEPT",
    "FDLOOP_EXCEPT": "FDLOOP_READ",
}  # fmt: skip
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)(?![\w.])")
CALL = re.compile(r"\s+[\w:>.\[\]-]+\(.*\);")
ASSIGNMENT = re.compile(r"\s+[^\s=(]+ [-+|&]?= .*;")
STEP = re.compile(r"\s+(\+\+|--)[\w>.\[\]-]+;")
# Mostly written over before it is read, or a flag of which any value but 0 says the same.
FIRST_VALUE = re.compile(r"\s+[\w: ]+ \w+ = 0;")
FLAG_SET = re.compile(r"\s+\S+ = 1;")
CONDITION = re.compile(r"\b(if|while) \((?!.* = )(.*)\)( \{)?$")
# Another change turns these round already.
SIMPLE_CONDITION = re.compile(r"![^&|]*|[^&|]* [!=]= [^&|]*")
ARGUMENTS = re.compile(r"(?<!std::min)(?<!std::max)(?<!memcmp)\(([^(), ]+), ([^(), ]+)(?=[,)])")
# What does not compile otherwise, or does nothing on any machine that we know (va_end).
NOT_CODE = re.compile(
    r"\s*(#|static_assert|template|using|va_end|virtual .* = 0;|.* = (delete|default);"
    r"|.*__attribute__)"
)


def _replacements(code, line):
    """The kind, start, end and new text of every change within a line; `code` is its code alone."""
    for kind, swaps in SWAPS.items():
        for match in re.finditer(r"(?<= )[-+*/%&|<>=!]+(?= )", code):
            if match.group() in swaps:
                yield kind, *match.span(), swaps[match.group()]
    for match in re.finditer(r"\+\+|--(?!>)", code):
        yield "step", *match.span(), "--" if match.group() == "++" else "++"
    for match in re.finditer(r"!(?=[\w(*])", code):
        yield "negation", *match.span(), ""
    # The byte order of INADDR_ANY, which is 0, changes nothing.
    for match in re.finditer(r"(?:std::)?\b[A-Za-z_]\w*\b(?!\(INADDR_ANY)", code):
        if match.group() in WORDS:
            yield "word", *match.span(), WORDS[match.group()]
    for match in NUMBER.finditer(code):
        number, suffix = match.groups()
        value = int(number, 0)
        if FIRST_VALUE.fullmatch(code):
            continue
        more = value + max(1, value // 10 if value >= 1000 else 0)  # enough to show in a time
        if not FLAG_SET.fullmatch(code):
            yield "number", *match.span(), (hex(more) if "x" in number else str(more)) + suffix
        if value == 1:
            yield "number", *match.span(), "0" + suffix
    match = CONDITION.search(code)
    if match and not SIMPLE_CONDITION.fullmatch(match.group(2)):
        yield "condition", *match.span(2), f"!({line[slice(*match.span(2))]})"
    for match in ARGUMENTS.finditer(code):
        first, second = line[slice(*match.span(1))], line[slice(*match.span(2))]
        if first != second:
            yield "arguments", match.start(1), match.end(2), f"{second}, {first}"
    for match in re.finditer(r'"[^"]{2,}"', code):
        yield "text", match.end() - 1, match.end(), '~"'
    if match := re.search(r"return;", code):
        yield "return", *match.span(), ";"


def _called(line):
    return line[: line.find("(")]


def _is_statement(code, before):
    if re.match(r"\s+(return|else|if|for|while|case|throw|delete)\b", code):
        return False
    whole = CALL.fullmatch(code) or ASSIGNMENT.fullmatch(code) or STEP.fullmatch(code)
    return whole and before.endswith((";", "{", "}", ")", ":", "else"))


def _changes(lines, codes):
    """The kind, first line, old and new text of every change."""
    before = ""  # the last line with code
    statement = None  # the line before, if it is a call
    for number, (line, code) in enumerate(zip(lines, codes)):
        code = code.rstrip()
        if not code or NOT_CODE.match(code):
            statement = None
            continue
        for kind, start, end, new in _replacements(code, line):
            yield kind, number, line, line[:start] + new + line[end:]
        is_statement = _is_statement(code, before)
        if is_statement:
            yield "statement", number, line, re.match(r"\s*", line).group() + ";"
            # Two calls of one function: of two others the order seldom matters.
            if statement and statement != line and _called(statement) == _called(line):
                yield "order", number - 1, f"{statement}\n{line}", f"{line}\n{statement}"
        statement = line if is_statement and CALL.fullmatch(code) else None
        before = code


def mutants_of(file, source):
    """Every mutant of a source file, in its order."""
    seen = {}
    codes = code_only(source).split("\n")
    for kind, number, old, new in _changes(source.split("\n"), codes):
        key = (one_line(old), one_line(new))
        seen[key] = seen.get(key, 0) + 1
        yield Mutant(file, kind, old, new, seen[key], number)
