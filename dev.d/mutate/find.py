"""The mutants of one source: small changes that a test should notice, found in clang's syntax tree."""
import dataclasses
import re

from clang.cindex import CursorKind as Kind
from clang.cindex import Index, TokenKind, TypeKind

OPERATORS = {"<": ("less", "<="), "<=": ("lessEqual", "<"), ">": ("greater", ">="),
             ">=": ("greaterEqual", ">"), "==": ("equal", "!="), "!=": ("unequal", "=="),
             "+": ("plus", "-"), "-": ("minus", "+"), "*": ("times", "+"), "/": ("divided", "*"),
             "%": ("rest", "*"), "&": ("bitAnd", "|"), "|": ("bitOr", "&")}
ARITHMETIC = {"+", "-", "*", "/", "%", "&", "|"}
NUMBERS = {TypeKind.CHAR_S, TypeKind.UCHAR, TypeKind.SCHAR, TypeKind.USHORT, TypeKind.UINT,
           TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG,
           TypeKind.LONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.CHAR32, TypeKind.CHAR16}
# What stands directly in these is a statement, whose value nobody takes.
BODIES = {Kind.COMPOUND_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT}
STATEMENTS = {Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR,
              Kind.UNARY_OPERATOR, Kind.CXX_STATIC_CAST_EXPR}
# The compiler needs what stands in these.
CONSTANT = {Kind.CASE_STMT, Kind.ENUM_CONSTANT_DECL, Kind.STATIC_ASSERT,
            Kind.TEMPLATE_NON_TYPE_PARAMETER}


@dataclasses.dataclass
class Mutant:
    """A change of the bytes from `begin` to `end`."""
    begin: int
    end: int
    line: int
    last: int               # its last line
    function: str
    what: str
    changed: str            # what stands there when the source holds this mutant alone
    # The text that holds both, in pieces: texts, in which NUMBER stands for the mutant's number, and
    # pairs of offsets, for what stands there with mutants of its own.
    switched: tuple = ()
    number: int = 0
    constant: bool = False

    def name(self, path):
        return f"{path}:{self.line}: {self.what}"


def switched(text, mutants, begin=0, end=None):
    """The source with all of these mutants in it, each to be switched on."""
    end = len(text) if end is None else end
    whole = [m for m in mutants if (m.begin, m.end) == (begin, end)]
    if whole:
        # A statement goes around its expressions, and one that keeps what it changes in one piece
        # around the others.
        outer = min(whole, key=lambda m: (not m.what.startswith("left out"),
                                          (begin, end) not in m.switched))
        rest = [m for m in mutants if m is not outer]
        return "".join(piece.replace("\0", str(outer.number)) if isinstance(piece, str) else
                       switched(text, [m for m in rest if piece[0] <= m.begin and m.end <= piece[1]],
                                *piece)
                       for piece in outer.switched)
    out, at = "", begin
    for mutant in mutants:
        if mutant.begin < at:
            continue
        inside = [m for m in mutants if mutant.begin <= m.begin and m.end <= mutant.end]
        out += text[at:mutant.begin].decode() + switched(text, inside, mutant.begin, mutant.end)
        at = mutant.end
    return out + text[at:end].decode()


class Finder:
    def __init__(self, path, arguments):
        self.path = path
        with open(path, "rb") as source:
            self.text = source.read()
        unit = Index.create().parse(path, args=arguments)
        errors = [str(d) for d in unit.diagnostics if d.severity >= 3]
        if errors:
            raise SystemExit(f"{path}: clang does not read it: {errors[:3]}")
        self.mutants = []
        for cursor in unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == path:
                self.walk(cursor, [], False)
        self.mutants.sort(key=lambda mutant: (mutant.begin, -mutant.end))

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def written(self, begin, end):
        return self.text[begin:end].decode()

    def walk(self, cursor, parents, constant):
        if cursor.kind in CONSTANT:
            # Of a case, only the label is a constant.
            for child in list(cursor.get_children())[1:] if cursor.kind == Kind.CASE_STMT else []:
                self.walk(child, parents + [cursor], constant)
            return
        if cursor.location.file and cursor.location.file.name != self.path:
            return
        if cursor.kind == Kind.VAR_DECL:
            tokens = [t.spelling for t in cursor.get_tokens()][:4]
            constant = constant or "constexpr" in tokens or "constinit" in tokens
        self.visit(cursor, parents, constant)
        for child in cursor.get_children():
            self.walk(child, parents + [cursor], constant)

    def function(self, parents):
        for cursor in reversed(parents):
            if cursor.kind in (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR,
                               Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE):
                return cursor.spelling
        return ""

    def add(self, cursor, parents, constant, what, changed, switched=(), span=None):
        begin, end = span or self.span(cursor)
        if not self.is_ours(begin, end):
            return
        # Each line that follows keeps its number.
        lines = self.text.count(b"\n", begin, end) - sum(
            piece.count("\n") if isinstance(piece, str) else self.text.count(b"\n", *piece)
            for piece in switched)
        if switched and lines > 0:
            switched = (*switched, "\n" * lines)
        first, last = (self.text.count(b"\n", 0, at) + 1 for at in (begin, end))
        self.mutants.append(Mutant(begin, end, first, last, self.function(parents), what, changed,
                                   switched, constant=constant))

    def is_ours(self, begin, end):
        # What a macro has made stands nowhere in the source.
        return 0 <= begin < end <= len(self.text)

    def visit(self, cursor, parents, constant):
        parent = parents[-1] if parents else None
        kind = cursor.kind
        if kind == Kind.BINARY_OPERATOR:
            self.binary(cursor, parents, constant)
        elif kind == Kind.UNARY_OPERATOR:
            self.unary(cursor, parents, constant)
        elif kind == Kind.INTEGER_LITERAL:
            self.number(cursor, parents, constant)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            word = self.written(*self.span(cursor))
            if word in ("true", "false"):
                other = "false" if word == "true" else "true"
                self.add(cursor, parents, constant, f"{word} -> {other}", other,
                         (f"(mutants::on(\0) ? {other} : {word})",))
        elif kind == Kind.STRING_LITERAL:
            self.string(cursor, parents, constant)
        elif kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.CONDITIONAL_OPERATOR):
            self.condition(cursor, parents, constant)
        elif kind == Kind.RETURN_STMT:
            self.returned(cursor, parents, constant)
        if kind == Kind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self.overloaded(cursor, parents, constant)
        elif kind == Kind.CALL_EXPR:
            self.swapped(cursor, parents, constant)
        if parent is not None and parent.kind in BODIES and kind in STATEMENTS:
            self.removed(cursor, parents, constant)

    def operator(self, left, right):
        begin, end = self.span(left)[1], self.span(right)[0]
        return self.written(begin, end).strip() if begin <= end else ""

    def binary(self, cursor, parents, constant):
        children = list(cursor.get_children())
        if len(children) != 2:
            return
        left, right = (self.span(child) for child in children)
        sign = self.operator(*children)
        if sign in ("&&", "||"):
            other = "||" if sign == "&&" else "&&"
            self.add(cursor, parents, constant, f"{sign} -> {other}",
                     f"({self.written(*left)}) {other} ({self.written(*right)})",
                     ("(((static_cast<bool>(", left, ") != mutants::on(\0)) " + sign +
                      " (static_cast<bool>(", right, ") != mutants::on(\0))) != mutants::on(\0))"))
        elif sign in OPERATORS:
            if sign in ARITHMETIC and any(child.type.get_canonical().kind not in NUMBERS
                                          for child in children):
                return
            name, other = OPERATORS[sign]
            self.add(cursor, parents, constant, f"{sign} -> {other}",
                     f"({self.written(*left)}) {other} ({self.written(*right)})",
                     (f"mutants::{name}(\0, ", left, ", ", right, ")"))

    def overloaded(self, cursor, parents, constant):
        arguments = list(cursor.get_arguments())
        sign = cursor.spelling.removeprefix("operator")
        if len(arguments) != 2 or sign not in OPERATORS or sign in ARITHMETIC:
            return
        left, right = (self.span(a) for a in arguments)
        # One that the compiler has put together from another one stands there with its own sign.
        sign = self.operator(*arguments)
        if sign in OPERATORS and self.span(cursor) == (left[0], right[1]):
            name, other = OPERATORS[sign]
            self.add(cursor, parents, constant, f"{sign} -> {other}",
                     f"({self.written(*left)}) {other} ({self.written(*right)})",
                     (f"mutants::{name}(\0, ", left, ", ", right, ")"))

    def unary(self, cursor, parents, constant):
        children = list(cursor.get_children())
        if len(children) != 1:
            return
        begin, end = self.span(cursor)
        inner = self.span(children[0])
        sign = self.written(begin, inner[0]).strip()
        if sign == "!":
            self.add(cursor, parents, constant, "! left out", f"bool({self.written(*inner)})",
                     ("(static_cast<bool>(", inner, ") == mutants::on(\0))"))
        elif sign in ("++", "--"):
            other = "--" if sign == "++" else "++"
            text = self.written(*inner)
            self.add(cursor, parents, constant, f"{sign} -> {other}", other + text,
                     (f"(mutants::on(\0) ? {other}{text} : {sign}{text})",))

    def number(self, cursor, parents, constant):
        word = self.written(*self.span(cursor))
        if not word or not word[0].isdigit() or self.is_template_argument(*self.span(cursor)):
            return
        self.add(cursor, parents, constant, f"{word} -> {word} + 1", f"({word} + 1)",
                 (f"(mutants::on(\0) ? {word} + 1 : {word})",))

    def is_template_argument(self, begin, end):
        # clang tells it only by what stands around it.
        line = self.text[self.text.rfind(b"\n", 0, begin) + 1:begin].decode()
        return re.search(r"<[\w:,\s*&]*$", line) is not None and \
            re.match(rb"\s*(,[\w:,\s*&]*)?>", self.text[end:end + 80]) is not None

    def string(self, cursor, parents, constant):
        word = self.written(*self.span(cursor))
        # Pieces that follow each other are one literal, and raw ones have bounds of their own.
        if not word.startswith('"') or word.count('"') != 2 + word.count('\\"'):
            return
        other = '"~' + word[1:]
        self.add(cursor, parents, constant, f"{word} -> {other}", other,
                 (f"(mutants::on(\0) ? static_cast<const char*>({other}) : "
                  f"static_cast<const char*>({word}))",))

    def condition(self, cursor, parents, constant):
        children = list(cursor.get_children())
        # if (auto x = ...; c): the last before the branches is what decides, but a declaration that
        # decides by itself cannot be turned around in its place.
        declared = [self.span(c) for c in children if not c.kind.is_expression()][:1]
        for child in children[:2]:
            if child.kind.is_expression():
                inner = self.span(child)
                if declared and declared[0][0] <= inner[0] < declared[0][1]:
                    return
                self.add(child, parents, constant, "condition turned around",
                         f"!({self.written(*inner)})",
                         ("(static_cast<bool>(", inner, ") != mutants::on(\0))"))
                return

    def returned(self, cursor, parents, constant):
        children = list(cursor.get_children())
        if len(children) == 1 and children[0].type.get_canonical().kind == TypeKind.BOOL and \
                children[0].kind not in (Kind.CXX_BOOL_LITERAL_EXPR,):
            inner = self.span(children[0])
            self.add(children[0], parents, constant, "result turned around",
                     f"!({self.written(*inner)})",
                     ("(static_cast<bool>(", inner, ") != mutants::on(\0))"))

    def removed(self, cursor, parents, constant):
        span = self.span(cursor)
        text = self.written(*span)
        if cursor.kind == Kind.BINARY_OPERATOR and "=" not in text:
            return
        shown = " ".join(text.split())
        self.add(cursor, parents, constant,
                 f"left out: {shown if len(shown) < 60 else shown[:57] + '...'}", "static_cast<void>(0)",
                 ("if (!mutants::on(\0)) { static_cast<void>(", span, "); }"))

    def swapped(self, cursor, parents, constant):
        arguments = [a for a in cursor.get_arguments() if a is not None]
        begin, end = self.span(cursor)
        # Of two values the least and the greatest are the same in either order.
        unordered = cursor.spelling in ("min", "max") and len(arguments) == 2
        if len(arguments) < 2 or unordered or not self.written(begin, end).endswith(")"):
            return
        spans = [self.span(a) for a in arguments]
        for index in range(len(arguments) - 1):
            first, second = arguments[index], arguments[index + 1]
            kinds = [a.type.get_canonical().get_pointee() if a.type.get_canonical().kind in
                     (TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE)
                     else a.type.get_canonical() for a in (first, second)]
            (b1, e1), (b2, e2) = spans[index], spans[index + 1]
            if not begin < b1 < e1 <= b2 < e2 <= end or \
                    kinds[0].spelling.replace("const ", "") != kinds[1].spelling.replace("const ", "") or \
                    self.written(b1, e1) == self.written(b2, e2):
                continue
            one, two = self.written(b1, e1), self.written(b2, e2)
            other = self.written(begin, b1) + two + self.written(e1, b2) + one + \
                self.written(e2, end)
            if "//" not in other:
                other = " ".join(other.split("\n"))
            self.add(cursor, parents, constant, " ".join(f"{one}, {two} swapped".split()), other,
                     ("(mutants::on(\0) ? ", other, " : ", (begin, end), ")"))
