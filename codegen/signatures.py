"""C++ signatures of the procedural functions.

An operator has one function per combination of its control directions'
forms: the tuple form always, the single-value form where every parameter of
the direction is single-valued. The order is: tuple in/tuple out, tuple
in/single out, single in/tuple out, single in/single out."""

from collections import namedtuple

IN_TYPES = {"l": "Vlong", "d": "double", "s": "const char*", "t": "const VTuple&"}
OUT_TYPES = {"l": "Vlong*", "d": "double*", "s": "char*", "t": "VTuple*"}

# Parameter names that are C++ keywords (or would shadow the frame's
# locals) get a trailing underscore.
_RESERVED = {
    "alignas", "alignof", "and", "and_eq", "asm", "auto", "bitand", "bitor",
    "bool", "break", "case", "catch", "char", "class", "compl", "const",
    "constexpr", "const_cast", "continue", "decltype", "default", "delete",
    "do", "double", "dynamic_cast", "else", "enum", "explicit", "export",
    "extern", "false", "float", "for", "friend", "goto", "if", "inline", "int",
    "long", "mutable", "namespace", "new", "noexcept", "not", "not_eq",
    "nullptr", "operator", "or", "or_eq", "private", "protected", "public",
    "register", "reinterpret_cast", "return", "short", "signed", "sizeof",
    "static", "static_assert", "static_cast", "struct", "switch", "template",
    "this", "thread_local", "throw", "true", "try", "typedef", "typeid",
    "typename", "union", "unsigned", "using", "virtual", "void", "volatile",
    "wchar_t", "while", "xor", "xor_eq", "proc_", "err_",
}

Names = namedtuple("Names", "inp_obj outp_obj inp_ctrl outp_ctrl")


def cpp_name(name):
    return name + "_" if name in _RESERVED else name


def arg_names(op):
    return Names([cpp_name(p.name) for p in op.inp_obj],
                 [cpp_name(p.name) for p in op.outp_obj],
                 [cpp_name(p.name) for p in op.inp_ctrl],
                 [cpp_name(p.name) for p in op.outp_ctrl])


def _form_list(has_single_in, has_single_out):
    ins = [False, True] if has_single_in else [False]
    outs = [False, True] if has_single_out else [False]
    return [(i, o) for i in ins for o in outs]


def forms(op):
    """(single_in, single_out) pairs of the operator's functions."""
    return _form_list(op.single_in, op.single_out)


def arg_types(in_letters, out_letters, n_inp_obj, n_outp_obj, form):
    single_in, single_out = form
    types = ["const Vobject&"] * n_inp_obj + ["Vobject*"] * n_outp_obj
    types += [IN_TYPES[c if single_in else "t"] for c in in_letters]
    types += [OUT_TYPES[c if single_out else "t"] for c in out_letters]
    return types


def prototype(op, form):
    types = arg_types("".join(p.type for p in op.inp_ctrl),
                      "".join(p.type for p in op.outp_ctrl),
                      len(op.inp_obj), len(op.outp_obj), form)
    n = arg_names(op)
    names = n.inp_obj + n.outp_obj + n.inp_ctrl + n.outp_ctrl
    args = ", ".join("%s %s" % (t, a) for t, a in zip(types, names))
    return "unsigned int %s(%s)" % (op.name, args)


def catalogue_signatures(entry):
    """Argument type lists of all functions of one catalogue entry."""
    a, b, c, d = entry.counts
    in_letters = entry.single_in or "t" * c
    out_letters = entry.single_out or "t" * d
    return [", ".join(arg_types(in_letters, out_letters, a, b, form))
            for form in _form_list(entry.single_in is not None,
                                   entry.single_out is not None)]
