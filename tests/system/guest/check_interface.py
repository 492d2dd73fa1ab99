#!/usr/bin/env python3
"""Whether a service's own account of an interface, read from the standard input, is that of a file.

usage: check_interface.py FILE < what Introspect answers

The file has one interface. Members, types, directions, names of arguments and annotations count;
the order of attributes and all blanks do not.
"""

import sys
import xml.etree.ElementTree as ElementTree


def account(element):
    """The element as nested tuples: what it is, its attributes, what is in it in its order."""
    attributes = dict(element.attrib)
    if element.tag == "arg":
        attributes.setdefault("direction", "in")
    return element.tag, sorted(attributes.items()), [account(child) for child in element]


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        (documented,) = ElementTree.parse(file).getroot().findall("interface")
    name = documented.get("name")
    served = [
        interface
        for interface in ElementTree.fromstring(sys.stdin.read()).findall("interface")
        if interface.get("name") == name
    ]
    if len(served) != 1:
        sys.exit(f"the service has {name} {len(served)} times")
    if account(served[0]) != account(documented):
        sys.exit(
            f"the service's {name} is\n{account(served[0])}\n"
            f"and that of {sys.argv[1]}\n{account(documented)}"
        )


main()
