#!/usr/bin/env python3
"""Checks that docs/reference/ agrees with the public header, the layout tests and the messages.

A page consists of entries. An entry is a section that begins with a table of codes: code, number,
record. Then come the records, each table below the names of the records that it describes, the
errors with the kernel's words, what there is to know of result and threads, and an example that
runs. The index, README.md, lists every code with a link to its entry.
"""
import pathlib
import re
import sys
from dataclasses import dataclass, field

HEADER = pathlib.Path("include/qmsd7.h")
PAGES = pathlib.Path("docs/reference")
INDEX = PAGES / "README.md"
LAYOUT = pathlib.Path("tests/contract/layout_test.cpp")
REFUSALS = pathlib.Path("tests/contract/support/function_codes.h")
KERNEL = ["kernel", "memory", "modules", "services", "variant"]

PARTS = ["**Result.**", "**Threads.**", "```c run"]
CODE_ROW = re.compile(r"\| `(QM_\w+)` \| (0x\w{8}) \| (.*) \|")
ENUMERATOR = re.compile(r"(QM_CALL_\w+) = (0x\w{8}),?(?: +/\* (.*?) *\*/)?")
INDEX_ROW = re.compile(r"\| \[`(QM_\w+)`\]\(([\w-]+\.md)#([\w-]+)\) \| (0x\w{8}) \| .+ \|")
RECORD_HEAD = "| field | type | offset | | meaning |"
FIELD_ROW = re.compile(r"\| `(\w+)` \| (.+?) \| (\d+) \| ?([a-z/]*) \| (.+) \|")
ERROR_ROW = re.compile(r"\| [\w* ]+ \| `(.*?)` \| .+ \|")


@dataclass
class Field:
    name: str
    type: str
    directions: set  # of "in" and "out"; empty where the header does not tell


@dataclass
class Header:
    codes: dict                                   # name: (number, record)
    records: dict = field(default_factory=dict)   # name: [Field]
    messages: dict = field(default_factory=dict)  # record: what its comment says of errors


@dataclass
class Table:
    line: int
    records: list
    rows: list


@dataclass
class Entry:
    place: str
    anchor: str
    codes: dict = field(default_factory=dict)  # name: (number, record)
    tables: list = field(default_factory=list)
    messages: set = field(default_factory=set)
    text: str = ""


# ---- What is so ----

def directions_of(comment):
    """{"in"}, {"out"} or both, from the word a field's comment begins with."""
    word = re.match(r"(in/out|in|out)\b( for)?", comment)
    if not word:
        return set()
    return {"in", "out"} if word[2] else set(word[1].split("/"))


def field_of(line):
    parts = re.fullmatch(r"  (\w.*?[ *])(\w+)((?:\[\d+\])?);(?: */\* *(.*?) *\*/)?", line)
    if not parts:
        sys.exit(f"{HEADER}: a field on a line of its own was expected: {line}")
    kind, name, array, comment = parts.groups()
    return Field(name, kind.strip() + array, directions_of(comment or ""))


def record_of(words, previous, codes):
    """The record that a code's comment names: a struct, "none" or "the variant"."""
    if twin := re.match(r"same as (\w+)", words):
        return codes["QM_CALL_" + twin[1]][1]
    if words.startswith("the same"):
        return previous
    if words.startswith("the variant"):
        return "the variant"
    struct = re.match(r"qm_\w+", words)
    return f"`{struct[0]}`" if struct else "none"


def codes_of(text):
    codes = {}
    record = None
    for name, number, words in ENUMERATOR.findall(text):
        record = record_of(words, record, codes)
        codes[name] = number, record
    for record, block in re.findall(r"\(record (qm_\w+)\)\. \*/\n((?:#define .*\n)+)", text):
        for name, number in re.findall(r"#define (QM_\w+) (0x\w{8})u", block):
            codes[name] = number, f"`{record}`"
    return codes


def read_header():
    text = HEADER.read_text(encoding="utf-8")
    header = Header(codes_of(text))
    pattern = re.compile(r"(?:/\*((?:(?!\*/).)*)\*/\n)?typedef struct (qm_\w+) \{\n(.*?)\n\} \2;",
                         re.DOTALL)
    for comment, name, body in pattern.findall(text):
        header.records[name] = [field_of(line) for line in body.splitlines()]
        # A message may be broken over two lines of the comment.
        errors = re.sub(r"\s*\n \*\s*", " ", comment).partition("Errors")[2]
        quoted = re.findall(r'"(.*?)"', errors)
        header.messages[name] = {text for text in quoted if not text.startswith("%")}
    return header


def read_layout():
    """{(record, field): offset on 32 bits}"""
    text = LAYOUT.read_text(encoding="utf-8")
    asserted = re.findall(r"^FIELD\((\w+), (\w+), (\d+), \d+\);", text, re.MULTILINE)
    return {(record, name): 4 * int(index) for record, name, index in asserted}


def read_refusals():
    """{code: what it says to a null record}"""
    return dict(re.findall(r'\{(QM_\w+), "(.*?)"\}', REFUSALS.read_text(encoding="utf-8")))


def plain(message):
    """Narrow text is %hs in the sources, and callers need not know."""
    return message.replace("%hs", "%s").replace("%ls", "%s")


def read_kernel_messages():
    sources = (path for room in KERNEL for path in pathlib.Path(room).rglob("*.cpp"))
    return {plain(text) for path in sources
            for text in re.findall(r'QM_W\("(.*?)"\)', path.read_text(encoding="utf-8"))}


# ---- What the pages say ----

def anchor_of(title):
    return re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def read_table(lines, start):
    """The record table whose head is at `start`; the line above it but one names the records."""
    rows = []
    for line in lines[start + 2:]:
        if not line.startswith("|"):
            break
        row = FIELD_ROW.fullmatch(line)
        rows.append(row.groups() if row else (line, "", "", "", ""))
    return Table(start + 1, re.findall(r"`(qm_\w+)`", lines[start - 2]), rows)


def read_page(path):
    """Its sections; those without codes are no entries."""
    sections = []
    lines = path.read_text(encoding="utf-8").splitlines()
    for at, line in enumerate(lines):
        if line.startswith("## "):
            sections.append(Entry(f"{path}:{at + 1}", anchor_of(line[3:])))
        if not sections:
            continue
        section = sections[-1]
        section.text += line + "\n"
        if code := CODE_ROW.fullmatch(line):
            section.codes[code[1]] = code[2], code[3]
        elif line == RECORD_HEAD:
            section.tables.append(read_table(lines, at))
        elif error := ERROR_ROW.fullmatch(line):
            section.messages.add(error[1].replace("\\|", "|"))
    return sections


# ---- Where they differ ----

def problems_of_codes(header, entries):
    documented = {}
    for entry in entries:
        for name, (number, record) in entry.codes.items():
            if name in documented:
                yield f"{entry.place}: {name} has an entry already"
            documented[name] = entry
            if name not in header.codes:
                yield f"{entry.place}: {name} is no code of {HEADER}"
            elif (number, record) != header.codes[name]:
                yield f"{entry.place}: {name} is {' with record '.join(header.codes[name])}"
    for name in header.codes.keys() - documented.keys():
        yield f"{HEADER}: {name} has no entry in {PAGES}/"


def problems_of_row(table, at, row, header, layout):
    name, types, offset, direction, meaning = row
    declared = [header.records[record][at] for record in table.records]
    if any(each.name != name for each in declared):
        yield f"field {at} is not {name}"
        return
    wanted = dict.fromkeys(f"`{each.type}`" for each in declared)
    if types != ", ".join(wanted):
        yield f"{name} is {', '.join(wanted)}"
    for record in table.records:
        asserted = layout.get((record, name), "no place")
        if asserted != int(offset):
            yield f"{LAYOUT} has {record}::{name} at {asserted}"
    told = {word for word in direction.split("/") if word}
    for each in declared if meaning != "not used" else ():
        if each.directions and not (told and told <= each.directions):
            yield f"{name} is {'/'.join(sorted(each.directions))}"


def problems_of_table(table, header, layout):
    unknown = [record for record in table.records if record not in header.records]
    if unknown or not table.records:
        yield f"the table describes no record of {HEADER} {' '.join(unknown)}"
        return
    if any(len(header.records[record]) != len(table.rows) for record in table.records):
        yield f"{table.records[0]} has {len(header.records[table.records[0]])} fields"
        return
    for at, row in enumerate(table.rows):
        yield from problems_of_row(table, at, row, header, layout)


def problems_of_entry(entry, header, layout, refusals):
    for part in PARTS:
        if part not in entry.text:
            yield f"{entry.place}: no {part}"
    described = {f"`{record}`" for table in entry.tables for record in table.records}
    for name, (_, record) in entry.codes.items():
        if record.startswith("`") and record not in described:
            yield f"{entry.place}: {record} is not described"
        if name in refusals and refusals[name] not in entry.messages:
            yield f'{entry.place}: {name} answers a null record with "{refusals[name]}"'
    for table in entry.tables:
        for problem in problems_of_table(table, header, layout):
            yield f"{entry.place.partition(':')[0]}:{table.line}: {problem}"


def problems_of_messages(header, sections, entries):
    """What is told, the kernel says; what the header tells of a record, some entry tells too."""
    spoken = read_kernel_messages()
    for section in sections:
        for message in section.messages:
            if plain(message) not in spoken:
                yield f'{section.place}: the kernel does not say "{message}"'
    for record, messages in header.messages.items():
        for message in messages - spoken:
            yield f'{HEADER}: {record}: the kernel does not say "{message}"'
        told = [entry.messages for entry in entries
                if f"`{record}`" in {of for _, of in entry.codes.values()}]
        for message in messages.difference(*told) if told else ():
            yield f'{HEADER}: {record} may fail with "{message}", which no entry tells'


def problems_of_index(header, pages):
    listed = set()
    for line in INDEX.read_text(encoding="utf-8").splitlines():
        row = INDEX_ROW.fullmatch(line)
        if not row:
            continue
        name, page, anchor, number = row.groups()
        listed.add(name)
        target = [entry for entry in pages.get(page, []) if entry.anchor == anchor]
        if number != header.codes.get(name, [None])[0]:
            yield f"{INDEX}: {name} is not {number}"
        if not target or name not in target[0].codes:
            yield f"{INDEX}: {name} has no entry at {page}#{anchor}"
    for name in header.codes.keys() - listed:
        yield f"{INDEX}: {name} is not listed"


def main():
    header = read_header()
    layout, refusals = read_layout(), read_refusals()
    pages = {path.name: read_page(path) for path in sorted(PAGES.glob("*.md"))}
    sections = [section for page in pages.values() for section in page]
    entries = [section for section in sections if section.codes]
    problems = [*problems_of_codes(header, entries), *problems_of_index(header, pages),
                *problems_of_messages(header, sections, entries)]
    for entry in entries:
        problems += problems_of_entry(entry, header, layout, refusals)
    for problem in problems:
        print(problem)
    print(f"{len(entries)} entries for {len(header.codes)} codes, {len(problems)} differences")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
