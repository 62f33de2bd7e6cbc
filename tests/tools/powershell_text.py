"""PowerShell 5.1, as far as the blocks of the pages go: whether a block's brackets and quotes are closed, which
variables it sets, uses and gives up, and which commands and parameters it names.

It reads a block as a console does into which the block is pasted: line by line, a line being run as soon as it is
whole.
"""

import re
from dataclasses import dataclass

CLOSER = {"(": ")", "{": "}", "[": "]"}
VARIABLE = re.compile(r"\$(?:\{([^}]+)\}|((?:\w+:)?\w+)|([?^$]))")
WORD = re.compile(r"[^\s(){}\[\];|,\"'`$@#=&][^\s(){}\[\];|,\"'`$=]*")
AUTOMATIC = {"_", "?", "^", "$", "args", "error", "event", "false", "home", "host", "input", "lastexitcode", "matches",
             "null", "pid", "profile", "psitem", "psscriptroot", "psversiontable", "this", "true"}
SET_BY_PARAMETER = {"-errorvariable", "-outvariable", "-warningvariable", "-pipelinevariable", "-sessionvariable"}
# At the start of a line of its own: a console has run the lines before, unless they are within brackets.
GOES_ON_TOO_LATE = {"else", "elseif", "catch", "finally"}
GIVES_UP = {"Remove-CimSession", "Remove-Variable"}
NOT_IN_5_1 = {"&&", "||", "??", "??=", "?.", "-parallel", "-asbytestream"}


class PowerShellError(Exception):
    def __init__(self, line: int, what: str):
        super().__init__(f"line {line}: {what}")


@dataclass(frozen=True)
class Token:
    kind: str  # "word", "variable", "splat", "string", "open", "close", "mark" or "end" of a line
    text: str
    line: int
    depth: int  # brackets around it


class Reader:
    """Cuts a block into tokens."""

    def __init__(self, text: str):
        self.text = text
        self.at = 0
        self.open = []  # brackets that are open, each with its line
        self.tokens = []

    def fail(self, what: str, line: int = 0):
        raise PowerShellError(line or self.line(), what)

    def line(self) -> int:
        return self.text.count("\n", 0, self.at) + 1

    def add(self, kind: str, text: str, length: int) -> None:
        self.tokens.append(Token(kind, text, self.line(), len(self.open)))
        self.at += length

    def read(self) -> list:
        while self.at < len(self.text):
            self.step()
        if self.open:
            bracket, line = self.open[-1]
            self.fail(f"{bracket} is never closed", line)
        self.add("end", "", 0)
        return self.tokens

    def step(self) -> None:
        text, at = self.text, self.at
        here = text[at]
        if here == "\n":
            self.add("end", "", 1)
        elif here.isspace():
            self.at += 1
        elif here == "`":
            self.at += 2  # what it escapes, the end of a line among it
        elif text.startswith("<#", at):
            self.skip_to("#>", "<#")
        elif here == "#":
            self.at = (text + "\n").index("\n", at)
        elif text.startswith(("@'\n", '@"\n'), at):
            self.skip_to("\n" + text[at + 1] + "@", "a here-string")
        elif here == "'":
            self.single_quoted()
        elif here == '"':
            self.double_quoted()
        elif here in "({[" or text.startswith(("@(", "@{", "$(", "${"), at) and not VARIABLE.match(text, at):
            self.open_bracket()
        elif here in ")}]":
            self.close_bracket()
        elif here == "$" and VARIABLE.match(text, at):
            self.variable(VARIABLE.match(text, at))
        elif match := re.compile(r"@(\w+)").match(text, at):
            self.add("splat", match[1].lower(), len(match[0]))
        elif match := re.compile(r"&&|\|\||\?\?=?|[-+*/]?=|[|;,=&]").match(text, at):
            self.add("mark", match[0], len(match[0]))
        elif match := WORD.match(text, at):
            self.add("word", match[0], len(match[0]))
        else:
            self.fail(f"{here} has no meaning here")

    def skip_to(self, end: str, what: str) -> None:
        found = self.text.find(end, self.at + 2)
        if found < 0:
            self.fail(f"{what} is never ended")
        self.at = found + len(end)

    def single_quoted(self) -> None:
        match = re.compile(r"'(?:[^']|'')*'").match(self.text, self.at)
        if not match:
            self.fail("' is never closed")
        self.add("string", match[0], len(match[0]))

    def double_quoted(self) -> None:
        start = self.line()
        self.add("string", '"', 1)
        while self.at < len(self.text):
            if self.text[self.at] == "`" or self.text.startswith('""', self.at):
                self.at += 2
            elif self.text[self.at] == '"':
                self.at += 1
                return
            elif self.text.startswith("$(", self.at):
                self.expression_in_text()
            elif match := VARIABLE.match(self.text, self.at):
                self.variable(match)
            else:
                self.at += 1
        self.fail('" is never closed', start)

    def expression_in_text(self) -> None:
        depth = len(self.open)
        self.open_bracket()
        while len(self.open) > depth:
            if self.at >= len(self.text):
                self.fail("$( is never closed")
            self.step()

    def open_bracket(self) -> None:
        length = 1 if self.text[self.at] in CLOSER else 2
        bracket = self.text[self.at + length - 1]
        self.add("open", bracket, length)
        self.open.append((bracket, self.line()))

    def close_bracket(self) -> None:
        here = self.text[self.at]
        if not self.open or CLOSER[self.open[-1][0]] != here:
            self.fail(f"{here} closes nothing")
        self.open.pop()
        self.add("close", here, 1)

    def variable(self, match: re.Match) -> None:
        self.add("variable", (match[1] or match[2] or match[3]).lower(), len(match[0]))


def read(text: str) -> list:
    """The tokens of a block; PowerShellError where 5.1 would not take it as it stands."""
    tokens = Reader(text).read()
    for before, token in zip([Token("end", "", 0, 0), *tokens], tokens):
        word = token.text.lower()
        if token.kind in ("word", "mark") and word in NOT_IN_5_1:
            raise PowerShellError(token.line, f"{token.text} is not of PowerShell 5.1")
        is_late = token.kind == "word" and word in GOES_ON_TOO_LATE and token.depth == 0
        if before.kind == "end" and (is_late or token.kind == "mark" and word == "|"):
            raise PowerShellError(token.line, f"a console has run the line before it sees {token.text}")
    return tokens


def calls(tokens: list):
    """Each command that a word of two parts names, with its parameters."""
    for index, token in enumerate(tokens):
        if token.kind != "word" or not re.fullmatch(r"[A-Z][A-Za-z]+-[A-Z]\w+", token.text):
            continue
        parameters = []
        for other in tokens[index + 1:]:
            is_over = other.kind == "end" or other.kind == "mark" and other.text in "|;="
            if other.depth < token.depth or other.depth == token.depth and is_over:
                break
            if other.depth == token.depth and other.kind == "word" and re.match(r"-[A-Za-z]", other.text):
                parameters.append(other.text)
        yield token, parameters


def functions(tokens: list) -> set:
    """What a block defines."""
    return {token.text for before, token in zip(tokens, tokens[1:]) if before.text.lower() == "function"}


class Variables:
    """What is set, from block to block of a page."""

    def __init__(self):
        self.scopes = [set()]  # the names of the page, then those of the function that is being defined
        self.removed = {}

    def follow(self, tokens: list) -> None:
        given_up = {}  # by the index of the token that ends the statement
        body = parameters = None  # depths: around a function's body, within a list of parameters
        for index, token in enumerate(tokens):
            before = tokens[index - 1] if index else Token("end", "", 0, 0)
            word = before.text.lower()
            if word == "function":
                body = before.depth
                self.scopes.append(set())
            if token.text == "(" and (word == "param" or index > 1 and tokens[index - 2].text.lower() == "function"):
                parameters = token.depth + 1
            if token.kind == "close" and parameters == token.depth + 1:
                parameters = None
            if token.text == "}" and token.kind == "close" and token.depth == body:
                self.scopes.pop()
                body = None
            if word in SET_BY_PARAMETER:
                self.set(token.text.lstrip("+"))
            if token.kind in ("variable", "splat"):
                is_set = before.text != "=" if token.depth == parameters else is_assigned(tokens, index)
                self.set(token.text) if is_set else self.use(token)
            if token.text in GIVES_UP:
                end, names = given_up_by(tokens, index)
                given_up.setdefault(end, {}).update(dict.fromkeys(names, token.text))
            self.removed.update(given_up.pop(index, {}))

    def set(self, name: str) -> None:
        name = re.sub(r"^(global|script|local):", "", name.lower())
        self.scopes[-1].add(name)
        if len(self.scopes) == 1:
            self.removed.pop(name, None)

    def use(self, token: Token) -> None:
        name = re.sub(r"^(global|script|local|using):", "", token.text)
        if name in AUTOMATIC or name.startswith("env:"):
            return
        if name in self.removed and not any(name in names for names in self.scopes[1:]):
            raise PowerShellError(token.line, f"${name} was given up by {self.removed[name]}")
        if not any(name in names for names in self.scopes):
            raise PowerShellError(token.line, f"${name} was never set")


def is_assigned(tokens: list, index: int) -> bool:
    if [each.text.lower() for each in tokens[max(index - 2, 0):index]] == ["foreach", "("]:
        return True
    names = "".join("v" if each.kind == "variable" else each.text for each in tokens[index:index + 12])
    return re.match(r"v(,v)*=", names) is not None


def given_up_by(tokens: list, index: int) -> tuple:
    """Where the statement around a command that gives variables up ends, and their names."""
    def is_border(at: int) -> bool:
        token, before = tokens[at], tokens[at - 1] if at else None
        goes_on = before is not None and before.kind == "mark" and before.text in "|,="
        is_end = token.kind == "end" and token.depth == tokens[index].depth and not goes_on
        return is_end or token.depth < tokens[index].depth or token.text == ";"

    first = last = index
    while first > 0 and not is_border(first - 1):
        first -= 1
    while last < len(tokens) - 1 and not is_border(last):
        last += 1
    statement = tokens[first:last]
    if tokens[index].text == "Remove-Variable":
        words = statement[index - first + 1:]
        return last, {each.text.lower() for each in words if each.kind == "word" and not each.text.startswith("-")}
    return last, {each.text for each in statement if each.kind == "variable"} - AUTOMATIC
