#!/usr/bin/env python3
"""Checks the declaration table against the catalogue; exit status 1 on any
problem, with one line per problem."""
import argparse
import sys

import decl


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
    for p in problems:
        print(p)
    print("%d operators, %d problems" % (len(ops), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
