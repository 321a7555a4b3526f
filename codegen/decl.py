"""Reading the operator catalogue and the declaration table.

The catalogue (decl/catalogue.txt) fixes index, name, parameter counts and
single-value types; the declaration table (decl/operators/*.tbl) adds
parameter names, object classes and tool classes. Both generators and the
checker use this module, so the file formats are parsed in one place."""

import os
import re
from dataclasses import dataclass, field
from typing import List, Optional

OBJECT_CLASSES = ("region", "image", "xld_cont", "xld_poly", "xld_para",
                  "xld_mod_para", "xld_ext_para", "xld", "object")
CTRL_TYPES = ("l", "d", "s", "t")
_CAT_RE = re.compile(
    r"^([a-z0-9_]+)\((\d+),(\d+),(\d+),(\d+)(?:;([lds-]*);([lds-]*))?\)$")
_NAME_RE = re.compile(r"^[a-z][a-z0-9_]*$")


class DeclError(Exception):
    pass


@dataclass
class CatalogueEntry:
    index: int
    name: str
    counts: tuple          # (inp_obj, outp_obj, inp_ctrl, outp_ctrl)
    single_in: Optional[str]   # letters, or None when there is no single form
    single_out: Optional[str]


@dataclass
class ObjParam:
    name: str
    cls: str
    array: bool


@dataclass
class CtrlParam:
    name: str
    type: str              # l, d, s or t
    tool: Optional[str]    # tool class name, e.g. VShapeModel


@dataclass
class Operator:
    index: int
    name: str
    inp_obj: List[ObjParam] = field(default_factory=list)
    outp_obj: List[ObjParam] = field(default_factory=list)
    inp_ctrl: List[CtrlParam] = field(default_factory=list)
    outp_ctrl: List[CtrlParam] = field(default_factory=list)

    @property
    def single_in(self):
        """True when the control inputs have a single-value form."""
        return bool(self.inp_ctrl) and all(p.type != "t" for p in self.inp_ctrl)

    @property
    def single_out(self):
        return bool(self.outp_ctrl) and all(p.type != "t" for p in self.outp_ctrl)


def read_catalogue(decl_dir):
    entries = []
    with open(os.path.join(decl_dir, "catalogue.txt")) as f:
        for line in f:
            line = line.strip()
            if not line or line.startswith("#"):
                continue
            m = _CAT_RE.match(line)
            if not m:
                raise DeclError("catalogue: cannot read %r" % line)
            name, a, b, c, d, sin, sout = m.groups()
            entries.append(CatalogueEntry(
                len(entries), name, (int(a), int(b), int(c), int(d)),
                None if sin in (None, "-") else sin,
                None if sout in (None, "-") else sout))
    return entries


def _parse_obj(token, where):
    name, sep, cls = token.partition(":")
    array = cls.endswith("[]")
    if array:
        cls = cls[:-2]
    if not sep or cls not in OBJECT_CLASSES:
        raise DeclError("%s: bad object parameter %r" % (where, token))
    return ObjParam(name, cls, array)


def _parse_ctrl(token, where):
    name, sep, rest = token.partition(":")
    typ, _, tool = rest.partition("@")
    if not sep or typ not in CTRL_TYPES:
        raise DeclError("%s: bad control parameter %r" % (where, token))
    return CtrlParam(name, typ, tool or None)


def parse_line(line, where):
    parts = line.split("|")
    if len(parts) != 5:
        raise DeclError("%s: expected 5 fields separated by '|'" % where)
    head = parts[0].split()
    if len(head) != 2 or not head[0].isdigit():
        raise DeclError("%s: expected 'INDEX NAME' first" % where)
    op = Operator(int(head[0]), head[1])
    op.inp_obj = [_parse_obj(t, where) for t in parts[1].split()]
    op.outp_obj = [_parse_obj(t, where) for t in parts[2].split()]
    op.inp_ctrl = [_parse_ctrl(t, where) for t in parts[3].split()]
    op.outp_ctrl = [_parse_ctrl(t, where) for t in parts[4].split()]
    return op


def read_table(decl_dir):
    ops = []
    tdir = os.path.join(decl_dir, "operators")
    for fname in sorted(os.listdir(tdir)):
        if not fname.endswith(".tbl"):
            continue
        with open(os.path.join(tdir, fname)) as f:
            for no, line in enumerate(f, 1):
                line = line.strip()
                if not line or line.startswith("#"):
                    continue
                ops.append(parse_line(line, "%s:%d" % (fname, no)))
    return ops


def check(catalogue, ops):
    """Returns a list of problems; empty when the table agrees with the
    catalogue and is well formed."""
    problems = []
    if len(ops) != len(catalogue):
        problems.append("table has %d operators, catalogue %d"
                        % (len(ops), len(catalogue)))
    for cat, op in zip(catalogue, ops):
        where = "%d %s" % (op.index, op.name)
        if op.index != cat.index or op.name != cat.name:
            problems.append("%s: catalogue has %d %s" % (where, cat.index, cat.name))
            continue
        counts = (len(op.inp_obj), len(op.outp_obj), len(op.inp_ctrl), len(op.outp_ctrl))
        if counts != cat.counts:
            problems.append("%s: counts %s, catalogue %s" % (where, counts, cat.counts))
            continue
        for letters, params, direction in ((cat.single_in, op.inp_ctrl, "input"),
                                           (cat.single_out, op.outp_ctrl, "output")):
            got = "".join(p.type for p in params)
            want = letters if letters is not None else "t" * len(params)
            if got != want:
                problems.append("%s: %s control types %r, catalogue %r"
                                % (where, direction, got, want))
        names = [p.name for p in op.inp_obj + op.outp_obj + op.inp_ctrl + op.outp_ctrl]
        for n in names:
            if not _NAME_RE.match(n):
                problems.append("%s: bad parameter name %r" % (where, n))
        if len(set(names)) != len(names):
            problems.append("%s: parameter names repeat" % where)
        for p in op.inp_ctrl + op.outp_ctrl:
            if p.tool is not None and not re.match(r"^V[A-Za-z0-9]+$", p.tool):
                problems.append("%s: bad tool class %r" % (where, p.tool))
    return problems


def load(decl_dir):
    """Catalogue and table, checked; raises DeclError on any problem."""
    catalogue = read_catalogue(decl_dir)
    ops = read_table(decl_dir)
    problems = check(catalogue, ops)
    if problems:
        raise DeclError("\n".join(problems[:50]))
    return ops
