#!/usr/bin/env python3
"""Checks the declaration table against the catalogue, the class method
lists against the number of methods each class is known to have, and
meanings.txt against the table; exit status 1 on any problem, with one line
per problem."""
import argparse
import sys

import class_methods
import decl
import reference

# Methods of each class with every form its list gives, as if every class
# that they name existed: (virtual, static). Each virtual method is a slot
# of the class's table, so these numbers fix the table's layout; a change
# of the lists or of the form rules shows up here.
# VRegionArray and VImage stay below the slot counts of their tables (278
# and 651 virtual): 2 and 44 forms are not yet accounted for.
EXPECTED_METHODS = {
    "VRegion": (323, 39),
    "VRegionArray": (276, 24),
    "VImage": (607, 70),
    "VImageArray": (416, 13),
}


def method_count_problems(decl_dir, ops):
    problems = []
    for cls, expected in sorted(EXPECTED_METHODS.items()):
        try:
            found = class_methods.slot_counts(cls, decl_dir, ops)
        except class_methods.ClassError as e:
            problems.append(str(e))
            continue
        if found != expected:
            problems.append("%s: %d virtual and %d static methods, expected %d and %d"
                            % ((cls,) + found + expected))
    return problems


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--decl", required=True)
    args = ap.parse_args()
    catalogue = decl.read_catalogue(args.decl)
    try:
        ops = decl.read_table(args.decl)
    except decl.DeclError as e:
        print(e)
        return 1
    problems = decl.check(catalogue, ops)
    problems += method_count_problems(args.decl, ops)
    problems += reference.read_meanings(args.decl, ops)[1]
    for p in problems:
        print(p)
    print("%d operators, %d problems" % (len(ops), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
