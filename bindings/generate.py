#!/usr/bin/env python3
"""Writes the C# and Python declarations of the library from its public headers.

The headers in include/ are the one source of truth: every exported function,
global, record, callback type and integer constant is read from them and
written out as
  bindings/csharp/YewWpfWrap/Native.g.cs     ([DllImport] + structs)
  bindings/python/yewwpfwrap/_native.py      (ctypes records and prototypes)
Both files are committed so that a host needs no build step; the binding
tests run this script with --check and fail when a header changed without
the bindings being written again.

  generate.py            write both files
  generate.py --check    exit 1 (and name the file) when either is stale
  generate.py --probe F  write a C program that prints the size and field
                         offsets of every record, for the layout tests

Only the plain C99 subset the headers use is understood; anything else is an
error rather than a silent omission.
"""
import argparse
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
INCLUDE = os.path.join(ROOT, "include")
CS_OUT = os.path.join(ROOT, "bindings", "csharp", "YewWpfWrap", "Native.g.cs")
PY_OUT = os.path.join(ROOT, "bindings", "python", "yewwpfwrap", "_native.py")

# Value types of a .NET runtime may be limited to 1 MiB; a larger trailing
# array is declared with one element and its full length as a constant.
CS_MAX_FIXED_BYTES = 1 << 20

SCALARS = {
    # C type: (C# type, ctypes type, size in bytes)
    "int32_t": ("int", "c_int32", 4),
    "uint32_t": ("uint", "c_uint32", 4),
    "int64_t": ("long", "c_int64", 8),
    "uint64_t": ("ulong", "c_uint64", 8),
    "int16_t": ("short", "c_int16", 2),
    "uint16_t": ("ushort", "c_uint16", 2),
    "int8_t": ("sbyte", "c_int8", 1),
    "uint8_t": ("byte", "c_uint8", 1),
    "char": ("byte", "c_char", 1),
    "float": ("float", "c_float", 4),
    "double": ("double", "c_double", 8),
    "bool": ("bool", "c_bool", 1),
    "int": ("int", "c_int", 4),
}
OPAQUE = {"FILE", "void"}


class HeaderError(Exception):
    pass


class CType:
    """A parsed C type: a base name, a pointer depth, array dimensions."""

    def __init__(self, base, pointers=0, dims=(), const=False):
        self.base, self.pointers, self.dims, self.const = base, pointers, tuple(dims), const

    def count(self):
        n = 1
        for d in self.dims:
            n *= d
        return n


class Model:
    def __init__(self):
        self.constants = {}  # name -> int, in header order
        self.records = {}  # name -> [(field, CType)]
        self.callbacks = {}  # name -> (CType ret, [(name, CType)])
        self.enums = set()  # typedef'd enum names: int-sized
        self.functions = {}  # name -> (CType ret, [(name, CType)], variadic)
        self.globals = {}  # name -> CType


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.sub(r"//[^\n]*", " ", text)


def eval_int(expr, constants):
    expr = expr.strip()
    tokens = re.findall(r"[A-Za-z_]\w*|\d+[uUlL]*|0[xX][0-9a-fA-F]+|[-+*/()<>|&~]+|\S", expr)
    out = []
    for t in tokens:
        if re.fullmatch(r"[A-Za-z_]\w*", t):
            if t not in constants:
                raise HeaderError(f"unknown constant {t} in '{expr}'")
            out.append(str(constants[t]))
        elif re.fullmatch(r"(0[xX][0-9a-fA-F]+|\d+)[uUlL]*", t):
            out.append(t.rstrip("uUlL"))
        elif re.fullmatch(r"[-+*/()<>|&~]+", t):
            out.append(t.replace("/", "//"))
        else:
            raise HeaderError(f"cannot evaluate '{expr}'")
    return int(eval(" ".join(out), {"__builtins__": {}}))  # digits and operators only


def parse_type_and_name(decl, model, allow_unnamed=False):
    """'const volatile int32_t* abortFlag' -> (name, CType)."""
    dims = [eval_int(d, model.constants) for d in re.findall(r"\[([^\]]*)\]", decl)]
    words = re.sub(r"\[[^\]]*\]", "", decl).replace("*", " * ").split()
    qualifiers = ("const", "volatile", "struct", "*")
    name = None
    if len([w for w in words if w not in qualifiers]) > 1:
        name = words.pop()
    if name is None and not allow_unnamed:
        raise HeaderError(f"declaration without a name: '{decl}'")
    # const before the first star qualifies what the pointer points to
    first_star = words.index("*") if "*" in words else len(words)
    const = "const" in words[:first_star]
    base = [w for w in words if w not in qualifiers]
    if len(base) != 1:
        raise HeaderError(f"cannot read the type of '{decl}'")
    base = base[0]
    if not (base in SCALARS or base in OPAQUE or base in model.records or base in model.callbacks
            or base in model.enums):
        raise HeaderError(f"unknown type {base} in '{decl}'")
    return name, CType(base, words.count("*"), dims, const)


def parse_params(text, model):
    text = text.strip()
    if text in ("", "void"):
        return [], False
    params, variadic = [], False
    for i, p in enumerate(split_top(text, ",")):
        p = p.strip()
        if p == "...":
            variadic = True
            continue
        name, t = parse_type_and_name(p, model, allow_unnamed=True)
        if t.dims:  # an array parameter is a pointer
            t = CType(t.base, t.pointers + 1, (), t.const)
        params.append((name or f"arg{i}", t))
    return params, variadic


def split_top(text, sep):
    parts, depth, cur = [], 0, []
    for ch in text:
        if ch in "({[":
            depth += 1
        elif ch in ")}]":
            depth -= 1
        if ch == sep and depth == 0:
            parts.append("".join(cur))
            cur = []
        else:
            cur.append(ch)
    parts.append("".join(cur))
    return parts


def header_order():
    """Headers in include order, each after the headers it includes."""
    names = sorted(f for f in os.listdir(INCLUDE) if f.endswith(".h"))
    texts = {n: open(os.path.join(INCLUDE, n), encoding="utf-8").read() for n in names}
    done, order = set(), []

    def visit(n):
        if n in done or n not in texts:
            return
        done.add(n)
        for inc in re.findall(r'#include\s+"([^"]+)"', texts[n]):
            visit(inc)
        order.append(n)

    for n in names:
        visit(n)
    return [(n, texts[n]) for n in order]


def parse():
    model = Model()
    for _, text in header_order():
        text = strip_comments(text).replace("\\\n", " ")  # continued lines
        body, pending = [], []
        for line in text.splitlines():
            s = line.strip()
            m = re.match(r"#\s*define\s+([A-Za-z_]\w*)\s+(.+)$", s)
            if m and not m.group(1).endswith("_H"):
                if not define(m.group(1), m.group(2), model):
                    pending.append(m.groups())
            if not s.startswith("#"):
                body.append(line)
        text = "\n".join(body)
        text = re.sub(r"\bOX_(BEGIN|END)_DECLS\b", " ", text)
        text = re.sub(r"\bOX_PRINTF_LIKE\s*\([^)]*\)", " ", text)
        for stmt in statements(text):
            parse_statement(stmt, model)
        # Macros that name an enum constant of the same header; the rest are
        # not integer constants (export and attribute macros).
        for name, value in pending:
            define(name, value, model)
    return model


def define(name, value, model):
    try:
        model.constants[name] = eval_int(value, model.constants)
        return True
    except HeaderError:
        return False


def statements(text):
    out, depth, cur = [], 0, []
    for ch in text:
        cur.append(ch)
        if ch == "{":
            depth += 1
        elif ch == "}":
            depth -= 1
        elif ch == ";" and depth == 0:
            out.append(" ".join("".join(cur).split())[:-1].strip())
            cur = []
    if "".join(cur).strip():
        raise HeaderError(f"unterminated declaration: {''.join(cur).strip()[:60]}")
    return [s for s in out if s]


def parse_enum_body(body, model):
    value = -1
    for item in split_top(body, ","):
        item = item.strip()
        if not item:
            continue
        if "=" in item:
            name, expr = item.split("=", 1)
            value = eval_int(expr, model.constants)
        else:
            name, value = item, value + 1
        model.constants[name.strip()] = value


def parse_statement(s, model):
    m = re.fullmatch(r"(typedef\s+)?enum\s*(\w+)?\s*\{(.*)\}\s*(\w+)?", s)
    if m:
        parse_enum_body(m.group(3), model)
        for name in (m.group(2), m.group(4)):
            if name and m.group(1):
                model.enums.add(name)
        return
    m = re.fullmatch(r"typedef\s+struct\s*(\w+)?\s*\{(.*)\}\s*(\w+)", s)
    if m:
        name = m.group(3)
        model.records[name] = []  # a record may point to itself
        for field in m.group(2).split(";"):
            if field.strip():
                fname, t = parse_type_and_name(field, model)
                model.records[name].append((fname, t))
        return
    m = re.fullmatch(r"typedef\s+(.+?)\(\s*\*\s*(\w+)\s*\)\s*\((.*)\)", s)
    if m:
        _, ret = parse_type_and_name(m.group(1), model, allow_unnamed=True)
        params, _ = parse_params(m.group(3), model)
        model.callbacks[m.group(2)] = (ret, params)
        return
    m = re.fullmatch(r"OX_API\s+extern\s+(.+)", s)
    if m:
        name, t = parse_type_and_name(m.group(1), model)
        model.globals[name] = t
        return
    m = re.fullmatch(r"OX_API\s+(.+?)\b(\w+)\s*\((.*)\)", s)
    if m:
        _, ret = parse_type_and_name(m.group(1), model, allow_unnamed=True)
        params, variadic = parse_params(m.group(3), model)
        model.functions[m.group(2)] = (ret, params, variadic)
        return
    raise HeaderError(f"declaration not understood: {s[:80]}")


# ---------------------------------------------------------------- C#

CS_KEYWORDS = set("""abstract as base bool break byte case catch char checked class const continue decimal
    default delegate do double else enum event explicit extern false finally fixed float for foreach goto if
    implicit in int interface internal is lock long namespace new null object operator out override params
    private protected public readonly ref return sbyte sealed short sizeof stackalloc static string struct
    switch this throw true try typeof uint ulong unchecked unsafe ushort using virtual void volatile while""".split())


def cs_ident(name):
    return "@" + name if name in CS_KEYWORDS else name


def cs_value_type(t, model, *, param=False, ret=False):
    if t.pointers:
        if param and t.pointers == 1 and t.const and t.base == "char":
            return "[MarshalAs(UnmanagedType.LPStr)] string"
        return "IntPtr"
    if t.base in model.callbacks:
        return "IntPtr"
    if t.base in model.enums:
        return "int"
    if t.base in model.records:
        return t.base
    if t.base == "void":
        return "void"
    cs = SCALARS[t.base][0]
    if cs == "bool":
        return ("[return: MarshalAs(UnmanagedType.I1)] bool" if ret else
                "[MarshalAs(UnmanagedType.I1)] bool")
    return cs


def emit_cs(model):
    out = [
        "// <auto-generated> Written by bindings/generate.py from include/*.h; do not edit.",
        "// Regenerate with: python3 bindings/generate.py",
        "// </auto-generated>",
        "using System;",
        "using System.Runtime.InteropServices;",
        "",
        "namespace YewWpfWrap",
        "{",
    ]
    for name, fields in model.records.items():
        unsafe = any(t.dims and not t.pointers and t.base not in model.records for _, t in fields)
        out.append("    [StructLayout(LayoutKind.Sequential)]")
        out.append(f"    public {'unsafe ' if unsafe else ''}struct {name}")
        out.append("    {")
        for i, (fname, t) in enumerate(fields):
            ident = cs_ident(fname)
            if t.dims and (t.pointers or t.base in model.callbacks):
                out.append(f"        [MarshalAs(UnmanagedType.ByValArray, SizeConst = {t.count()})]")
                out.append(f"        public IntPtr[] {ident};")
            elif t.dims:
                elem = SCALARS[t.base][0] if t.base != "bool" else "byte"
                n = t.count()
                if n * SCALARS[t.base][2] > CS_MAX_FIXED_BYTES:
                    if i != len(fields) - 1:
                        raise HeaderError(f"{name}.{fname}: oversized array that is not the last field")
                    out.append(f"        /// <summary>First element of an array of {fname}Length elements that")
                    out.append("        /// runs past the struct: address it through a pointer to the record.</summary>")
                    out.append(f"        public const int {fname}Length = {n};")
                    n = 1
                out.append(f"        public fixed {elem} {ident}[{n}];")
            else:
                out.append(f"        public {cs_value_type(t, model)} {ident};")
        out.append("    }")
        out.append("")
    for name, (ret, params) in model.callbacks.items():
        args = ", ".join(f"{cs_value_type(t, model, param=True)} {cs_ident(p)}" for p, t in params)
        out.append("    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]")
        out.append(f"    public delegate {cs_value_type(ret, model, ret=True)} {name}({args});")
        out.append("")
    out.append("    /// <summary>Every function the library exports, declared as in its headers.</summary>")
    out.append("    public static partial class Native")
    out.append("    {")
    out.append("        public const string Library = \"YewWpfWrap\";")
    out.append("")
    for name, value in model.constants.items():
        kind = "int" if -2**31 <= value < 2**31 else "long"
        out.append(f"        public const {kind} {name} = {value};")
    out.append("")
    out.append("        /// <summary>Exported globals (name, C type); read them through GlobalAddress.</summary>")
    out.append("        public static readonly string[][] Globals =")
    out.append("        {")
    for name, t in model.globals.items():
        ctext = t.base + "*" * t.pointers + "".join(f"[{d}]" for d in t.dims)
        out.append(f"            new[] {{ \"{name}\", \"{ctext}\" }},")
    out.append("        };")
    for name, (ret, params, variadic) in model.functions.items():
        out.append("")
        if variadic:
            out.append("        // Variadic in C: pass the whole message as the format, '%' written as \"%%\".")
        out.append(f"        [DllImport(Library, EntryPoint = \"{name}\", CallingConvention = CallingConvention.Cdecl)]")
        args = ", ".join(f"{cs_value_type(t, model, param=True)} {cs_ident(p)}" for p, t in params)
        rtype = cs_value_type(ret, model, ret=True)
        if rtype.startswith("[return:"):
            attr, rtype = rtype.split("] ", 1)
            out.append(f"        {attr}]")
        out.append(f"        public static extern {rtype} {name}({args});")
    out.append("    }")
    out.append("}")
    return "\n".join(out) + "\n"


# ---------------------------------------------------------------- Python

def py_type(t, model, *, param=False):
    base = t.base
    if base in model.callbacks:
        inner = base
    elif base in model.enums:
        inner = "c_int32"
    elif base in model.records:
        inner = base
    elif base in OPAQUE:
        inner = None
    else:
        inner = SCALARS[base][1]
    p = t.pointers
    if p == 0:
        if inner is None:
            return "None"
        return inner
    if inner is None:  # void*, FILE*, void**
        inner, p = "c_void_p", p - 1
    elif base == "char":
        inner, p = "c_char_p", p - 1
    for _ in range(p):
        inner = f"POINTER({inner})"
    return inner


def record_order(model):
    """Records ordered so that a record follows those it holds by value."""
    order, done = [], set()

    def visit(n):
        if n in done:
            return
        done.add(n)
        for _, t in model.records[n]:
            if not t.pointers and t.base in model.records:
                visit(t.base)
        order.append(n)

    for n in model.records:
        visit(n)
    return order


def emit_py(model):
    out = [
        "# Written by bindings/generate.py from include/*.h; do not edit.",
        "# Regenerate with: python3 bindings/generate.py",
        '"""ctypes declarations of every record, callback type, global, constant and',
        'function of the library, exactly as its headers declare them."""',
        "from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char, c_char_p, c_double, c_float,",
        "                    c_int, c_int8, c_int16, c_int32, c_int64, c_uint8, c_uint16, c_uint32, c_uint64,",
        "                    c_void_p)",
        "",
        "# Integer constants of the headers (enums and #defines).",
    ]
    for name, value in model.constants.items():
        out.append(f"{name} = {value}")
    out.append("")
    for name in model.records:
        out.append(f"class {name}(Structure):")
        out.append("    pass")
        out.append("")
    out.append("")
    for name, (ret, params) in model.callbacks.items():
        args = ", ".join([py_type(ret, model)] + [py_type(t, model, param=True) for _, t in params])
        out.append(f"{name} = CFUNCTYPE({args})")
    out.append("")
    for name in record_order(model):
        out.append(f"{name}._fields_ = [")
        for fname, t in model.records[name]:
            ty = py_type(CType(t.base, t.pointers), model)
            for d in reversed(t.dims):
                ty = f"{ty} * {d}" if "*" not in ty else f"({ty}) * {d}"
            out.append(f"    ({fname!r}, {ty}),")
        out.append("]")
    out.append("")
    out.append("# name: ctypes type of each exported global.")
    out.append("GLOBALS = {")
    for name, t in model.globals.items():
        ty = py_type(CType(t.base, t.pointers), model)
        for d in reversed(t.dims):
            ty = f"{ty} * {d}"
        out.append(f"    {name!r}: {ty},")
    out.append("}")
    out.append("")
    out.append("# name: (restype, argtypes, variadic) of each exported function.")
    out.append("FUNCTIONS = {")
    for name, (ret, params, variadic) in model.functions.items():
        args = ", ".join(py_type(t, model, param=True) for _, t in params)
        args = f"[{args}]"
        out.append(f"    {name!r}: ({py_type(ret, model)}, {args}, {variadic}),")
    out.append("}")
    out.append("")
    out.append("# name: class of each record.")
    out.append("RECORDS = {")
    for name in model.records:
        out.append(f"    {name!r}: {name},")
    out.append("}")
    return "\n".join(out) + "\n"


# ---------------------------------------------------------------- C probe

def emit_probe(model):
    out = [
        "/* Written by bindings/generate.py: prints the size of every record and the\n"
        " * offset and size of each of its fields. */",
        "#include <stddef.h>",
        "#include <stdio.h>",
        '#include "YewWpfWrap.h"',
        "int main(void) {",
    ]
    for name, fields in model.records.items():
        out.append(f'    printf("record {name} %zu\\n", sizeof({name}));')
        for fname, _ in fields:
            out.append(f'    printf("field {name} {fname} %zu %zu\\n", offsetof({name}, {fname}), '
                       f'sizeof(((const {name}*)0)->{fname}));')
    out.append("    return 0;")
    out.append("}")
    return "\n".join(out) + "\n"


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--check", action="store_true", help="fail when a committed file is stale")
    ap.add_argument("--probe", metavar="FILE", help="write the C layout probe to FILE")
    args = ap.parse_args()
    try:
        model = parse()
    except HeaderError as e:
        print(f"generate.py: {e}", file=sys.stderr)
        return 2
    if args.probe:
        with open(args.probe, "w", encoding="utf-8") as f:
            f.write(emit_probe(model))
        return 0
    stale = []
    for path, text in ((CS_OUT, emit_cs(model)), (PY_OUT, emit_py(model))):
        old = open(path, encoding="utf-8").read() if os.path.exists(path) else None
        if old == text:
            continue
        if args.check:
            stale.append(os.path.relpath(path, ROOT))
        else:
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as f:
                f.write(text)
    if stale:
        print("stale bindings (run python3 bindings/generate.py): " + ", ".join(stale), file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
