"""Finds the places in the product's sources where a small fault can be planted, in the tree that clang makes of them."""

import json
import shlex
from collections import namedtuple
from ctypes import byref, c_uint
from pathlib import Path

from clang import cindex
from clang.cindex import CursorKind as Kind, TypeKind

# Bytes from start to end of a file are replaced by text. The fault says in words what that is.
Point = namedtuple('Point', 'path line start end text fault')

OPERATORS = {
    '<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '==', '+': '-', '-': '+', '*': '/', '/': '*', '%': '/',
    '&&': '||', '||': '&&', '&': '|', '|': '&', '^': '|', '<<': '>>', '>>': '<<', '+=': '-=', '-=': '+=', '|=': '&=', '&=': '|=',
}
# A table of more values than this is data, and a draw of faults would find little else.
LONGEST_LIST = 32

EXPRESSIONS_AROUND = {Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR}
CALLS = {Kind.CALL_EXPR, Kind.CXX_DELETE_EXPR}
CONDITIONS = {Kind.IF_STMT, Kind.WHILE_STMT, Kind.CONDITIONAL_OPERATOR}
BODIES = {Kind.IF_STMT, Kind.WHILE_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT}
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE, Kind.LAMBDA_EXPR}
ANY_ORDER = {'max', 'min', 'swap'}  # of their arguments
COMPARISONS = {'memcmp', 'strcmp', 'QelTools_strcmp'}  # any order as well, if only equality is asked for
WITHOUT_RESULT = {Kind.CONSTRUCTOR, Kind.DESTRUCTOR}
PLAIN_RESULTS = {TypeKind.BOOL, TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG, TypeKind.USHORT, TypeKind.SHORT,
                 TypeKind.ENUM, TypeKind.POINTER}


class Unreadable(Exception):
    """A source that clang does not understand as it is compiled here. Places in it would be missing."""


class Finder:
    """The points of one translation unit, in those of its files that are wanted."""

    def __init__(self, root, wanted):
        self._root = root
        self._wanted = wanted
        self._texts = {}
        self.points = set()

    def read(self, source, arguments):
        unit = cindex.Index.create().parse(str(source), args=arguments)
        errors = [str(one) for one in unit.diagnostics if one.severity >= cindex.Diagnostic.Error]
        if errors:
            raise Unreadable(errors[0])
        self._visit_children(unit.cursor)

    def _visit_children(self, cursor):
        for child in cursor.get_children():
            if child.kind.is_declaration() and cursor.kind == Kind.TRANSLATION_UNIT and not self._is_wanted(child):
                continue
            if child.kind == Kind.STATIC_ASSERT:  # a check of its own, which the compiler makes
                continue
            self._look_at(child)
            if child.kind != Kind.INIT_LIST_EXPR or len(list(child.get_children())) <= LONGEST_LIST:
                self._visit_children(child)

    def _is_wanted(self, cursor):
        file = cursor.location.file
        return file is not None and self._name_of(file) in self._wanted

    def _name_of(self, file):
        try:
            return str(Path(file.name).resolve().relative_to(self._root))
        except ValueError:
            return None

    def _place(self, location):
        """File and byte of a location. What is written as an argument of a macro is found where it is written."""
        file, line, column, offset = cindex.c_object_p(), c_uint(), c_uint(), c_uint()
        cindex.conf.lib.clang_getFileLocation(location, byref(file), byref(line), byref(column), byref(offset))
        return self._name_of(cindex.File(file)) if file else None, offset.value

    def _span(self, cursor):
        path, start = self._place(cursor.extent.start)
        end_path, end = self._place(cursor.extent.end)
        return (path, start, end) if path == end_path and path in self._wanted and start < end else (None, 0, 0)

    def _text(self, path):
        if path not in self._texts:
            self._texts[path] = (self._root / path).read_bytes()
        return self._texts[path]

    def _add(self, path, start, end, text, fault):
        line = self._text(path).count(b'\n', 0, start) + 1
        self.points.add(Point(path, line, start, end, text, fault))

    def _look_at(self, cursor):
        kind = cursor.kind
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) or cursor.spelling in ('operator==', 'operator!='):
            self._operator(cursor)
        if kind in (Kind.INTEGER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR):
            self._literal(cursor)
        if kind in CONDITIONS:
            self._condition(cursor)
        if kind == Kind.CALL_EXPR:
            self._arguments(cursor)
        if kind == Kind.COMPOUND_STMT or kind in BODIES:
            self._removed_calls(cursor)
        if kind == Kind.COMPOUND_STMT:
            self._removed_guards(cursor)
        if kind in FUNCTIONS:
            self._early_return(cursor)

    def _operator(self, cursor):
        sides = list(cursor.get_children())
        if len(sides) < 2:
            return
        path, _, start = self._span(sides[0])
        end_path, end, _ = self._span(sides[-1])
        if path is None or path != end_path:
            return
        between = self._text(path)[start:end].decode('utf-8', 'replace')
        sign = between.strip()
        if sign in OPERATORS:
            begin = start + len(between) - len(between.lstrip())
            self._add(path, begin, begin + len(sign), OPERATORS[sign], f'{sign} becomes {OPERATORS[sign]}')

    def _literal(self, cursor):
        path, start, end = self._span(cursor)
        if path is None:
            return
        text = self._text(path)[start:end].decode()
        if text in ('true', 'false'):
            other = 'false' if text == 'true' else 'true'
            self._add(path, start, end, other, f'{text} becomes {other}')
        elif text[:1].isdigit():
            self._add(path, start, end, f'({text} + 1)', f'{text} becomes {text} + 1')

    def _condition(self, cursor):
        for child in cursor.get_children():
            if child.kind.is_expression():
                child = self._argument_of_macro(cursor, child)
                path, start, end = self._span(child)
                if path is not None:
                    text = self._text(path)[start:end].decode()
                    self._add(path, start, end, f'!({text})', f'condition {shortened(text)} negated')
            if child.kind != Kind.DECL_STMT:
                return

    def _argument_of_macro(self, statement, condition):
        """What a macro that makes the whole statement was given as its condition."""
        while self._span(condition) == self._span(statement):
            below = list(condition.get_children())
            if len(below) != 1:
                break
            condition = below[0]
        return condition

    def _arguments(self, cursor):
        if cursor.spelling in ANY_ORDER or (cursor.spelling in COMPARISONS and self._is_compared_with_0(cursor)):
            return
        arguments = list(cursor.get_arguments())
        for one, other in zip(arguments, arguments[1:]):
            if one is None or other is None or one.type.get_canonical().spelling != other.type.get_canonical().spelling:
                continue
            path, start, end = self._span(one)
            other_path, other_start, other_end = self._span(other)
            if path is None or path != other_path or end >= other_start:
                continue
            text = self._text(path)
            first, middle, last = (text[a:b].decode() for a, b in ((start, end), (end, other_start), (other_start, other_end)))
            if first != last and middle.strip() == ',':
                self._add(path, start, other_end, last + middle + first, f'{shortened(first)} and {shortened(last)} swapped')

    def _is_compared_with_0(self, cursor):
        path, _, end = self._span(cursor)
        return path is not None and self._text(path)[end:end + 5] in (b' == 0', b' != 0')

    def _removed_calls(self, cursor):
        children = list(cursor.get_children())
        if cursor.kind in BODIES:  # the condition is not the body
            children = children[1:] if cursor.kind == Kind.IF_STMT else children[-1:]
        for child in children:
            inner = child
            while inner.kind in EXPRESSIONS_AROUND or inner.kind == Kind.CSTYLE_CAST_EXPR:
                below = list(inner.get_children())
                if not below:
                    break
                inner = below[-1]
            path, start, end = self._span(child)
            if inner.kind in CALLS and path is not None and self._text(path)[end:end + 1] == b';':
                text = self._text(path)[start:end].decode()
                self._add(path, start, end, '', f'{shortened(text)} removed')

    def _removed_guards(self, cursor):
        """Objects that nobody names again: they hold something as long as they live."""
        children = list(cursor.get_children())
        for i, child in enumerate(children):
            declared = list(child.get_children()) if child.kind == Kind.DECL_STMT else []
            if len(declared) != 1 or declared[0].type.get_canonical().kind != TypeKind.RECORD:
                continue
            name = declared[0].spelling
            later = (below for sibling in children[i + 1:] for below in sibling.walk_preorder())
            path, start, end = self._span(child)
            if path is not None and not any(below.spelling == name for below in later):
                self._add(path, start, end, '', f'{shortened(self._text(path)[start:end].decode())} removed')

    def _early_return(self, cursor):
        body = [child for child in cursor.get_children() if child.kind == Kind.COMPOUND_STMT]
        value = self._plain_result(cursor)
        path, start, end = self._span(body[0]) if body else (None, 0, 0)
        if value is None or path is None or not self._text(path)[start + 1:end - 1].strip():
            return
        self._add(path, start + 1, start + 1, f' return{value}; ', f"{cursor.spelling or 'lambda'} returns at once")

    def _plain_result(self, function):
        """What stands behind "return" where nothing is done, or None if that is not known."""
        if function.kind in WITHOUT_RESULT:
            return ''
        if function.kind == Kind.LAMBDA_EXPR:  # its type is the one of what it returns
            results = list(results_below(function))
            is_bool = all(result.type.get_canonical().kind == TypeKind.BOOL for result in results)
            return '' if not results else ' false' if is_bool else None
        result = function.result_type.get_canonical().kind
        return '' if result == TypeKind.VOID else ' {}' if result in PLAIN_RESULTS else None


def results_below(lambda_or_statement):
    """What a lambda returns, without the lambdas in it."""
    for child in lambda_or_statement.get_children():
        if child.kind == Kind.RETURN_STMT:
            yield from child.get_children()
        elif child.kind != Kind.LAMBDA_EXPR:
            yield from results_below(child)


def shortened(text):
    text = ' '.join(text.split())
    return text if len(text) <= 60 else text[:57] + '...'


def points_of(task):
    """The points of one translation unit: (root, wanted paths, source, its compiler's arguments)."""
    root, wanted, source, arguments = task
    finder = Finder(root, wanted)
    finder.read(source, arguments)
    return finder.points


def tasks_of(root, commands_file, wanted):
    """A task for every translation unit of the product that may hold a wanted file."""
    for entry in json.loads(Path(commands_file).read_text()):
        source = Path(entry['file']).resolve().relative_to(root)
        if source.parts[0] in ('ExternalDeviceLayer', 'SoftwareBoard'):
            words = shlex.split(entry['command'])
            system = [f'-isystem{folder}' for word, folder in zip(words, words[1:]) if word == '-isystem']
            yield root, wanted, root / source, [word for word in words if word.startswith(('-I', '-D', '-std'))] + system
