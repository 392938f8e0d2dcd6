"""Every text of tests/sim/contract.h, with the names of its parameters in the place of what they stand for."""

import re

from pages import ROOT

HEADER = ROOT / "tests" / "sim" / "contract.h"

_namespace = re.compile(r"^namespace (\w+) \{\n(.*?)^\}  // namespace \1$", re.MULTILINE | re.DOTALL)
_constant = re.compile(r"inline constexpr const char\* (\w+) =\s*((?:\"(?:[^\"\\]|\\.)*\"\s*)+);")
_function = re.compile(r"inline std::string (\w+)\(([^)]*)\) \{\s*return (.*?);\s*\}", re.DOTALL)
_term = re.compile(r"\"((?:[^\"\\]|\\.)*)\"|std::to_string\((\w+)\)|(\w+)\(((?:[^()\"]|\"(?:[^\"\\]|\\.)*\")*)\)|(\w+)")
_escapes = {r"\n": "\n", r"\"": '"', r"\\": "\\"}


def _unescaped(literal):
    return re.sub(r"\\.", lambda escape: _escapes[escape.group()], literal)


class _Namespace:
    def __init__(self, body):
        self.declarations = body.count("inline ")
        self.constants = {
            name: _unescaped("".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals)))
            for name, literals in _constant.findall(body)
        }
        self.functions = {}
        for name, parameters, expression in _function.findall(body):
            names = [parameter.split()[-1].lstrip("&") for parameter in parameters.split(",")]
            self.functions[name] = (names, expression)

    def value(self, expression, arguments):
        text = ""
        for literal, number, function, actual, name in _term.findall(expression):
            if number or name:
                text += arguments.get(number or name) or self.constants.get(name, name)
            elif function:
                text += self.call(function, [self.value(one, arguments) for one in actual.split(", ", 1)])
            else:
                text += _unescaped(literal)
        return text

    def call(self, function, actual):
        names, expression = self.functions[function]
        return self.value(expression, dict(zip(names, actual)))

    def texts(self):
        """The name of each text, and the text without a line end of its own."""
        texts = dict(self.constants)
        if len(texts) + len(self.functions) != self.declarations:
            raise LookupError(f"{HEADER.name}: a declaration is of a form that is not known here")
        texts.update((name, self.call(name, names)) for name, (names, _) in self.functions.items())
        return {name: text.rstrip("\n") for name, text in texts.items()}


def texts_of(namespace):
    for name, body in _namespace.findall(HEADER.read_text(encoding="utf-8").split("namespace contract {", 1)[1]):
        if name == namespace:
            return _Namespace(body).texts()
    raise LookupError(f"{HEADER.name}: there is no namespace {namespace}")
