#!/usr/bin/env python3
"""Generates the built-in code-page tables of the KIV Library.

Writes, from mapping data installed on this machine:
  codepage/tables/kiv_cptables_sbcs.cpp     the 49 single-byte tables to UCS-2
  codepage/tables/kiv_cptables_dbcs.cpp     the 11 double-byte tables to UCS-2
  codepage/tables/kiv_cptables_reverse.cpp  UCS-2 to 500 and to 850
  codepage/tables/README.md                 where every position comes from
  tests/codepage/data/cptable_sources.txt   the same, for the comparison tests

The sources of a table, in this order of preference:
  1. ICU's converter for that CCSID, ucnv_openCCSID(ccsid, UCNV_IBM);
  2. the single-byte or double-byte half of an ICU converter of a mixed CCSID
     that contains it: every byte decoded alone, every lead/trail pair decoded
     alone (EBCDIC: single bytes in the initial state, pairs as 0E lead trail
     0F), errors stopping the decoding rather than being substituted;
  3. glibc iconv's charset for that number;
  4. the JDK's extended charsets (java on the PATH);
  5. the code-page data of the npm package codepage (used here only).
A CCSID that no source holds is built from the closest published relative
that is installed; positions that come from no source are U+FFFD. The
TABLES below say, per table, which source serves which positions and why.

Values: a table holds the decoding direction, decode-only mappings included.
Unmapped positions are U+FFFD; an unmapped single byte of a mixed code page
(the single-byte block of a double-byte table) is U+001A, as ICU decodes it.
A sequence that decodes to more than one UCS-2 unit does not fit and is
U+FFFD. The EBCDIC new line (0x15 in most EBCDIC pages) stays U+0085 in the
data: the conversion methods write it as a line feed.

Double-byte layout: blocks of 256 big-endian UCS-2 values, counted from 0.
Block 0 is all U+FFFD and serves every lead byte without characters (ward
number 1), block 1 holds the single bytes, blocks 2 and on hold the lead
bytes that have characters, in ascending order (ward numbers 3 and on). The
block count is the highest ward number used; it follows from the data (the
README lists each one). ASCII-based tables use the three shared lead-byte
sets; EBCDIC-based tables give every byte but shift-in a ward number, since
every such byte can lead in the double-byte state.

Reverse tables: for every UCS-2 unit, the byte ICU's fromUnicode writes for
it (fallbacks on, as the library opens its ICU converters, so that the table
answers what the library would answer through ICU), or the converter's
substitution byte. ICU drops the default-ignorable units it cannot map (U+034F,
U+200B and the like); the table writes one byte per unit, the substitution
byte for these too. Two levels of 256-byte pages: page 0 gives, per high
byte, the number of the page of its low bytes; identical pages are stored
once, so the size is 256 times (1 + the number of distinct pages).

Usage:
  scripts/gen_cptables.py           rewrite the committed files
  scripts/gen_cptables.py --check   compare the committed files with a fresh
                                    run, table by table; a table whose source
                                    is not installed here is listed and not
                                    compared (exit 1 and a diff on a change)
Options: --source-dir DIR (the repository), --dumper PROGRAM (a built
scripts/cpdump.cpp; default: compile it with c++ and ICU), --npm-dir DIR (a
folder whose node_modules holds codepage@1.15.0; default when writing: npm
install it into a temporary folder).
"""

import argparse
import difflib
import os
import shutil
import subprocess
import sys
import tempfile

GENERATOR = "scripts/gen_cptables.py"
NPM_PACKAGE = "codepage@1.15.0"
OUT_SBCS = os.path.join("codepage", "tables", "kiv_cptables_sbcs.cpp")
OUT_DBCS = os.path.join("codepage", "tables", "kiv_cptables_dbcs.cpp")
OUT_REVERSE = os.path.join("codepage", "tables", "kiv_cptables_reverse.cpp")
OUT_README = os.path.join("codepage", "tables", "README.md")
OUT_SOURCES = os.path.join("tests", "codepage", "data", "cptable_sources.txt")

UNMAPPED = None
BEYOND = "+"
REPLACEMENT = 0xFFFD
SUB = 0x001A
ALL = [(0x00, 0xFF)]

# The single-byte tables: CCSID, source, positions taken from it, why.
# A source is "icu:<ccsid>" (that CCSID's ICU converter; for a mixed CCSID,
# its single-byte half), "iconv:<charset>", "jdk:<charset>" or
# "npm:<code page>". "composite" entries are explained by their note.
SBCS = [
    (37, "icu:37", ALL, ""),
    (273, "icu:273", ALL, ""),
    (274, "iconv:IBM274", ALL, "ICU has no converter for 274"),
    (277, "icu:277", ALL, ""),
    (278, "icu:278", ALL, ""),
    (280, "icu:280", ALL, ""),
    (284, "icu:284", ALL, ""),
    (285, "icu:285", ALL, ""),
    (290, "icu:290", ALL, ""),
    (297, "icu:297", ALL, ""),
    (420, "icu:420", ALL, ""),
    (423, "iconv:IBM423", ALL, "ICU has no converter for 423"),
    (424, "icu:424", ALL, ""),
    (437, "icu:437", ALL, ""),
    (500, "icu:500", ALL, ""),
    (737, "icu:737", ALL, ""),
    (819, "icu:819", ALL, ""),
    (833, "icu:933", ALL, "the single-byte half of ICU's 933 (833 + 834)"),
    (836, "icu:935", ALL, "the single-byte half of ICU's 935 (836 + 837)"),
    (838, "icu:838", ALL, ""),
    (850, "icu:850", ALL, ""),
    (852, "icu:852", ALL, ""),
    (870, "icu:870", ALL, ""),
    (871, "icu:871", ALL, ""),
    (875, "icu:875", ALL, ""),
    (891, "iconv:IBM891", ALL, "no ICU converter holds 891"),
    (895, "icu:33722", ALL,
     "the single-byte G0 half of ICU's 33722 (895 + 952 + 896 + 953); the bytes "
     "0x80 to 0xFF begin multi-byte sequences there and stay U+FFFD"),
    (924, "composite", ALL,
     "only the npm package codepage holds 924 (its code page 20924). Its table "
     "disagrees with ICU where 924 shares ICU's 1047: the control positions 0x00 "
     "to 0x3F and 0xFF (it maps 0x00, 0x01 and 0xFF all to U+009F, and swaps 0x15 "
     "and 0x25). Those positions come from ICU's 1047, of which 924 is the Latin-9 "
     "form; the graphic positions 0x40 to 0xFE come from the npm table, whose "
     "0xB9 is unmapped and stays U+FFFD"),
    (1025, "icu:1025", ALL, ""),
    (1026, "icu:1026", ALL, ""),
    (1027, "icu:939", ALL, "the single-byte half of ICU's 939 (1027 + 300)"),
    (1040, "iconv:IBM891", [(0x00, 0x7F)],
     "no installed source holds 1040, the extended form of 891: the positions "
     "0x00 to 0x7F come from 891 (glibc IBM891), 0x80 to 0xFF stay U+FFFD"),
    (1041, "icu:942", ALL, "the single-byte half of ICU's 942 (1041 + 301)"),
    (1043, "jdk:x-IBM948", ALL,
     "the single-byte half of the JDK's 948 (1043 + 927); no ICU converter "
     "holds 1043"),
    (1046, "iconv:IBM1046", ALL, "ICU has no converter for 1046"),
    (1088, "icu:949", ALL, "the single-byte half of ICU's 949 (1088 + 951)"),
    (1112, "icu:1112", ALL, ""),
    (1114, "icu:950", ALL, "the single-byte half of ICU's 950 (1114 + 947)"),
    (1115, "jdk:x-IBM1381", ALL,
     "the single-byte half of the JDK's 1381 (1115 + 1380); no ICU converter "
     "holds 1115"),
    (1122, "icu:1122", ALL, ""),
    (1123, "icu:1123", ALL, ""),
    (1142, "icu:1142", ALL, ""),
    (1145, "icu:1145", ALL, ""),
    (1155, "icu:1155", ALL, ""),
    (1163, "iconv:IBM1163", ALL, "ICU has no converter for 1163"),
    (1250, "icu:1250", ALL, "ICU's 1250 itself, not a later variant with the euro sign"),
    (1252, "icu:1252", ALL, "ICU's 1252 itself, not a later variant with the euro sign"),
    (9048, "icu:856", ALL,
     "no installed source holds 9048, the euro form of 856: every position "
     "comes from ICU's 856; where 9048 places the euro sign no source tells, "
     "so no position holds it"),
    (13121, "icu:1364", ALL, "the single-byte half of ICU's 1364 (13121 + 4930)"),
]

LEADS_SJIS = [(0x81, 0x9F), (0xE0, 0xFC)]
LEADS_81_FC = [(0x81, 0xFC)]
LEADS_81_FF = [(0x81, 0xFF)]

# The double-byte tables: CCSID, EBCDIC, lead bytes (ASCII-based), source,
# why. A double-byte CCSID of this list names the double-byte part of a
# mixed code page; its table also carries that page's single bytes, which
# the methods read for every byte outside a double-byte character.
DBCS = [
    (301, False, LEADS_SJIS, "icu:942",
     "ICU's 942 (1041 + 301): its pairs and its single bytes"),
    (927, False, LEADS_81_FC, "jdk:x-IBM948",
     "the JDK's 948 (1043 + 927): no ICU converter holds 927"),
    (930, True, None, "icu:930", "ICU's 930 (290 + 300)"),
    (939, True, None, "icu:939", "ICU's 939 (1027 + 300)"),
    (941, False, LEADS_SJIS, "icu:943", "ICU's 943 (1041 + 941)"),
    (948, False, LEADS_81_FC, "jdk:x-IBM948", "the JDK's 948: ICU has no converter for it"),
    (1351, False, LEADS_81_FF, "iconv:SHIFT_JIS",
     "no installed source holds 1351 (the double-byte part of a vendor's Shift-JIS "
     "code page): built from its base, Shift-JIS (glibc SHIFT_JIS: JIS X 0201 and "
     "JIS X 0208); the vendor's own additions stay U+FFFD"),
    (1394, False, LEADS_81_FF, "iconv:SHIFT_JISX0213",
     "no installed source holds 1394 by number: built from glibc's SHIFT_JISX0213, "
     "keeping what fits in UCS-2 (characters beyond U+FFFF and the pairs that "
     "decode to two characters stay U+FFFD)"),
    (4930, True, None, "icu:1364", "ICU's 1364 (13121 + 4930)"),
    (4933, True, None, "icu:1388", "ICU's 1388 (its single bytes + 4933)"),
    (5039, False, LEADS_SJIS, "iconv:SHIFT_JIS",
     "no installed source holds 5039 (a vendor's Shift-JIS mixed code page): built "
     "from its base, Shift-JIS (glibc SHIFT_JIS: JIS X 0201 and JIS X 0208); the "
     "vendor's own additions stay U+FFFD"),
]

REVERSE = [(500, "icu:500"), (850, "icu:850")]

# What the published figures say, to explain where ours differ.
PUBLISHED_BLOCKS = {301: 53, 4933: 136}
PUBLISHED_REVERSE_SIZE = {500: 1280, 850: 2816}


class Unavailable(Exception):
    """A source is not installed on this machine."""


class Sources:
    """Runs the dump programs and caches what they print."""

    def __init__(self, root, dumper, npm_dir, work):
        self.root = root
        self.dumper = dumper
        self.npm_dir = npm_dir
        self.work = work
        self.cache = {}
        self.java_built = False

    def _run(self, command):
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode == 2:
            raise Unavailable(result.stderr.strip())
        if result.returncode != 0:
            sys.exit("%s: %s failed: %s" % (GENERATOR, " ".join(command), result.stderr.strip()))
        return result.stdout

    def _dumper(self):
        if self.dumper is None:
            compiler = shutil.which("c++") or shutil.which("g++")
            if compiler is None:
                raise Unavailable("no C++ compiler to build the dump program")
            self.dumper = os.path.join(self.work, "cpdump")
            subprocess.run([compiler, "-std=c++17", "-O1", "-o", self.dumper,
                            os.path.join(self.root, "scripts", "cpdump.cpp"), "-licuuc"],
                           check=True)
        return self.dumper

    def _java(self, charset, request):
        if shutil.which("javac") is None or shutil.which("java") is None:
            raise Unavailable("no JDK (javac, java)")
        if not self.java_built:
            subprocess.run(["javac", "-d", self.work,
                            os.path.join(self.root, "scripts", "CpDump.java")], check=True)
            self.java_built = True
        return self._run(["java", "-cp", self.work, "CpDump", charset, request])

    def _npm_table(self, codepage):
        if self.npm_dir is None:
            raise Unavailable("the npm package %s (give --npm-dir)" % NPM_PACKAGE)
        script = ("const t=require('codepage')[%d].dec;let o=[];for(let i=0;i<256;i++){"
                  "const v=t[i];o.push(v===undefined||v.length!==1?'-':"
                  "v.charCodeAt(0).toString(16).toUpperCase().padStart(4,'0'));}"
                  "console.log(' '+o.join(' '));" % codepage)
        result = subprocess.run(["node", "-e", script], capture_output=True, text=True,
                                cwd=self.npm_dir)
        if result.returncode != 0:
            raise Unavailable("the npm package %s in %s" % (NPM_PACKAGE, self.npm_dir))
        return result.stdout

    def dump(self, source, request):
        key = (source, request)
        if key not in self.cache:
            kind, name = source.split(":", 1)
            if kind in ("icu", "iconv"):
                text = self._run([self._dumper(), source, request])
            elif kind == "jdk":
                text = self._java(name, request)
            elif kind == "npm":
                text = self._npm_table(int(name))
            else:
                raise ValueError(source)
            self.cache[key] = text
        return self.cache[key]

    def singles(self, source):
        return [parse_value(v) for v in self.dump(source, "singles").split()]

    def pairs(self, source, shifted=False):
        rows = {}
        for line in self.dump(source, "shifted-pairs" if shifted else "pairs").splitlines():
            fields = line.split()
            rows[int(fields[0], 16)] = [parse_value(v) for v in fields[1:]]
        return rows

    def reverse(self, source):
        """The substitution byte and the byte of every UCS-2 unit (None: none)."""
        fields = self.dump(source, "reverse").split()
        return int(fields[0], 16), [None if v == "-" else int(v, 16) for v in fields[1:]]


def parse_value(text):
    if text == "-":
        return UNMAPPED
    if text == "+":
        return BEYOND
    return int(text, 16)


def in_ranges(value, ranges):
    return any(low <= value <= high for low, high in ranges)


def unit_or(value, unmapped):
    return value if isinstance(value, int) else unmapped


def sbcs_values(sources, source, positions):
    if source == "composite":
        return table_924(sources)
    decoded = sources.singles(source)
    return [unit_or(decoded[b], REPLACEMENT) if in_ranges(b, positions) else REPLACEMENT
            for b in range(256)]


def table_924(sources):
    npm = sources.singles("npm:20924")
    npm_1047 = sources.singles("npm:1047")
    icu_1047 = sources.singles("icu:1047")
    values = []
    for b in range(256):
        if b <= 0x3F or b == 0xFF:
            values.append(unit_or(icu_1047[b], REPLACEMENT))
            continue
        # Where the npm data leaves a graphic of 1047 unchanged, it must
        # agree with ICU's 1047, or the reading of the package is wrong.
        if npm[b] == npm_1047[b] and npm_1047[b] != icu_1047[b]:
            sys.exit("%s: npm 1047 and ICU 1047 disagree at 0x%02X" % (GENERATOR, b))
        values.append(unit_or(npm[b], REPLACEMENT))
    return values


def dbcs_table(sources, ccsid, ebcdic, leads, source):
    singles = sources.singles(source)
    pairs = sources.pairs(source, shifted=ebcdic)
    blocks = [[REPLACEMENT] * 256, [unit_or(v, SUB) for v in singles]]
    wards = [0] * 256
    for lead in range(256):
        if ebcdic:
            if lead == 0x0F:  # shift-in ends the double-byte state, never a lead
                wards[lead] = 1
                continue
        elif not in_ranges(lead, leads):
            continue
        row = [unit_or(v, REPLACEMENT) for v in pairs[lead]]
        if all(v == REPLACEMENT for v in row):
            wards[lead] = 1
        else:
            blocks.append(row)
            wards[lead] = len(blocks)
    return wards, blocks


def reverse_table(sources, source):
    substitution, units = sources.reverse(source)
    pages, numbers = [], {}
    index = []
    for high in range(256):
        page = tuple(substitution if b is None else b for b in units[high * 256:high * 256 + 256])
        if page not in numbers:
            pages.append(page)
            numbers[page] = len(pages)
        index.append(numbers[page])
    flat = list(index)
    for page in pages:
        flat.extend(page)
    return flat, substitution


# ---------------------------------------------------------------- rendering

def hex_bytes(values, indent, per_line=16):
    lines = []
    for i in range(0, len(values), per_line):
        lines.append(indent + ",".join("0x%02X" % v for v in values[i:i + per_line]) + ",")
    return "\n".join(lines)


def be_bytes(units):
    out = []
    for u in units:
        out.extend(((u >> 8) & 0xFF, u & 0xFF))
    return out


def header(what):
    return ("// GENERATED by %s from the mapping data installed on the machine that ran\n"
            "// it; do not edit. %s\n"
            "// The source of every table is named beside it and in README.md of this\n"
            "// folder.\n" % (GENERATOR, what))


def source_label(source):
    kind, name = source.split(":", 1)
    return {"icu": "ICU, ucnv_openCCSID(%s, UCNV_IBM)" % name,
            "iconv": "glibc iconv, charset %s" % name,
            "jdk": "the JDK's charset %s" % name,
            "npm": "npm %s, code page %s" % (NPM_PACKAGE, name),
            "composite": "see README.md"}.get(kind, source)


def render_sbcs_block(ccsid, source, values):
    return ("    // %d: %s\n    {%du,\n     {\n%s\n     }},\n"
            % (ccsid, source_label(source) if source != "composite" else "npm and ICU, see README.md",
               ccsid, hex_bytes(be_bytes(values), "      ")))


def render_sbcs(blocks):
    return (header("Single-byte code pages to UCS-2.") +
            '#include "../kiv_cptables.hpp"\n\nnamespace kiv::detail {\n\n'
            "// Sorted by CCSID for the binary search; 256 big-endian UCS-2 values each.\n"
            "const _KivStConversionTableSBCS2UCS2 gs_castConversionTablesSBCS2UCS2[%d] = {\n%s};\n\n"
            "const _KivStConversionTableSBCS2UCS2* const gs_pcastConversionTablesSBCS2UCS2 =\n"
            "    gs_castConversionTablesSBCS2UCS2;\n"
            "const std::size_t gs_ulConversionTablesSBCS2UCS2Count =\n"
            "    sizeof gs_castConversionTablesSBCS2UCS2 / sizeof gs_castConversionTablesSBCS2UCS2[0];\n\n"
            "}  // namespace kiv::detail\n" % (len(SBCS), "".join(blocks)))


LEAD_SET_NAMES = {tuple(LEADS_SJIS): "gs_aucLeadBytes_81_9F_E0_FC",
                  tuple(LEADS_81_FC): "gs_aucLeadBytes_81_FC",
                  tuple(LEADS_81_FF): "gs_aucLeadBytes_81_FF"}


def render_dbcs_data(ccsid, source, note, wards, blocks):
    body = []
    for number, block in enumerate(blocks):
        body.append("    // block %d%s\n%s" % (
            number, {0: " (no characters)", 1: " (single bytes)"}.get(number, ""),
            hex_bytes(be_bytes(block), "    ")))
    return ("// %d: %s. %s\nconst unsigned char gs_aucWardData_%d[%d * 512] = {\n%s\n};\n\n"
            % (ccsid, source_label(source), note.rstrip(".") + ".", ccsid, len(blocks),
               "\n".join(body)))


def render_dbcs_entry(ccsid, ebcdic, leads, wards, blocks):
    return ("    {%du,\n     %d,\n     {\n%s\n     },\n     %du,\n     gs_aucWardData_%d,\n     %s},\n"
            % (ccsid, 1 if ebcdic else 0, hex_bytes(wards, "      "), len(blocks), ccsid,
               "nullptr" if ebcdic else LEAD_SET_NAMES[tuple(leads)]))


def render_lead_sets():
    out = []
    for ranges, name in LEAD_SET_NAMES.items():
        values = [1 if in_ranges(b, list(ranges)) else 0 for b in range(256)]
        label = ", ".join("0x%02X to 0x%02X" % r for r in ranges)
        out.append("// lead bytes %s\nconst unsigned char %s[256] = {\n%s\n};\n\n"
                   % (label, name, hex_bytes(values, "    ")))
    return "".join(out)


def render_dbcs(data_blocks, entry_blocks):
    return (header("Double-byte code pages to UCS-2.") +
            '#include "../kiv_cptables.hpp"\n\nnamespace kiv::detail {\n\nnamespace {\n\n' +
            render_lead_sets() + "".join(data_blocks) +
            "}  // namespace\n\n"
            "// Sorted by CCSID for the binary search.\n"
            "const _KivStDBCSConversionTableEntry gs_castDBCSConversionTableEntries[%d] = {\n%s};\n\n"
            "const _KivStDBCSConversionTableEntry* const gs_pcastDBCSConversionTableEntries =\n"
            "    gs_castDBCSConversionTableEntries;\n"
            "const std::size_t gs_ulDBCSConversionTableEntriesCount =\n"
            "    sizeof gs_castDBCSConversionTableEntries / sizeof gs_castDBCSConversionTableEntries[0];\n\n"
            "}  // namespace kiv::detail\n" % (len(DBCS), "".join(entry_blocks)))


def render_reverse_block(ccsid, source, flat, substitution):
    return ("// UCS-2 to %d: %s; units without a byte give 0x%02X, the substitution byte.\n"
            "const unsigned char gs_acConversionTable_13488_to_%d[%d] = {\n%s\n};\n\n"
            % (ccsid, source_label(source), substitution, ccsid, len(flat),
               hex_bytes(flat, "    ")))


def render_reverse(blocks):
    entries = "".join("    {%du, gs_acConversionTable_13488_to_%d},\n" % (c, c) for c, _ in REVERSE)
    return (header("UCS-2 to single-byte code pages.") +
            '#include "../kiv_cptables.hpp"\n\nnamespace kiv::detail {\n\n' + "".join(blocks) +
            "namespace {\n\nconst _KivStConversionTableUCS22SBCS gs_castConversionTablesUCS22SBCS[] = {\n"
            "%s};\n\n}  // namespace\n\n"
            "const _KivStConversionTableUCS22SBCS* const gs_pcastConversionTablesUCS22SBCS =\n"
            "    gs_castConversionTablesUCS22SBCS;\n"
            "const std::size_t gs_ulConversionTablesUCS22SBCSCount =\n"
            "    sizeof gs_castConversionTablesUCS22SBCS / sizeof gs_castConversionTablesUCS22SBCS[0];\n\n"
            "}  // namespace kiv::detail\n" % entries)


def ranges_text(ranges):
    return ",".join("%02X-%02X" % r for r in ranges)


def render_sources():
    lines = ["# GENERATED by %s; do not edit." % GENERATOR,
             "# Where every built-in table position comes from, for the tests that compare",
             "# the tables with their sources. Fields:",
             "#   sbcs <ccsid> <source> <byte ranges taken from the source>",
             "#   dbcs <ccsid> <ascii|ebcdic> <lead byte ranges or -> <source>",
             "#   reverse <ccsid> <source>",
             "# Positions outside the ranges are U+FFFD; \"composite\" is explained in",
             "# codepage/tables/README.md."]
    for ccsid, source, positions, _ in SBCS:
        lines.append("sbcs %d %s %s" % (ccsid, source, ranges_text(positions)))
    for ccsid, ebcdic, leads, source, _ in DBCS:
        lines.append("dbcs %d %s %s %s" % (ccsid, "ebcdic" if ebcdic else "ascii",
                                          "-" if ebcdic else ranges_text(leads), source))
    for ccsid, source in REVERSE:
        lines.append("reverse %d %s" % (ccsid, source))
    return "\n".join(lines) + "\n"


def render_readme(block_counts, reverse_sizes):
    out = ["# The built-in code-page tables",
           "",
           "GENERATED by `%s`; do not edit. Run it again to rebuild the tables" % GENERATOR,
           "from the mapping data installed on the machine, and `%s --check` to" % GENERATOR,
           "compare them with a fresh run (`make test` does, for every table whose source is",
           "installed).",
           "",
           "Sources, in the order of preference: ICU's converter for the CCSID (platform",
           "IBM); the single-byte or double-byte half of an ICU converter of a mixed CCSID",
           "that contains it; glibc iconv; the JDK's extended charsets; the npm package",
           "`%s`, used by the generator only. Where no source holds a CCSID, the" % NPM_PACKAGE,
           "table is built from the closest published relative that is installed, and every",
           "position that comes from no source is U+FFFD. No mapping is made up.",
           "",
           "Unmapped positions are U+FFFD; an unmapped single byte of a mixed code page is",
           "U+001A, as ICU decodes it. Sequences that decode to more than one UCS-2 unit are",
           "U+FFFD. The EBCDIC new line stays U+0085 in the data (the conversion writes it",
           "as a line feed).",
           "",
           "## Single-byte tables to UCS-2 (`kiv_cptables_sbcs.cpp`)",
           "",
           "| CCSID | Source | Positions | Note |",
           "|---|---|---|---|"]
    for ccsid, source, positions, note in SBCS:
        out.append("| %d | %s | %s | %s |" % (
            ccsid, source_label(source) if source != "composite" else "npm and ICU",
            ranges_text(positions), note))
    out += ["",
            "## Double-byte tables to UCS-2 (`kiv_cptables_dbcs.cpp`)",
            "",
            "Block 0 holds no characters (ward number 1), block 1 the single bytes, blocks",
            "2 and on the lead bytes with characters. The block count follows from the",
            "data: 2 plus the number of lead bytes with at least one character.",
            "",
            "| CCSID | Base | Lead bytes | Source | Blocks | Note |",
            "|---|---|---|---|---|---|"]
    for ccsid, ebcdic, leads, source, note in DBCS:
        count = block_counts.get(ccsid, "?")
        remark = note
        if ccsid in PUBLISHED_BLOCKS and count != PUBLISHED_BLOCKS[ccsid]:
            remark += (". The published table had %d blocks, counted from other data; this "
                       "source has %s lead bytes with characters, which with the empty and the "
                       "single-byte block make %s" % (PUBLISHED_BLOCKS[ccsid],
                                                      count - 2 if isinstance(count, int) else "?",
                                                      count))
        out.append("| %d | %s | %s | %s | %s | %s |" % (
            ccsid, "EBCDIC" if ebcdic else "ASCII",
            "shift-out/shift-in" if ebcdic else ranges_text(leads),
            source_label(source), count, remark))
    out += ["",
            "## UCS-2 to single-byte tables (`kiv_cptables_reverse.cpp`)",
            "",
            "| CCSID | Source | Bytes | Note |",
            "|---|---|---|---|"]
    for ccsid, source in REVERSE:
        size = reverse_sizes.get(ccsid, "?")
        remark = "ICU's fromUnicode with fallbacks on"
        if size != PUBLISHED_REVERSE_SIZE[ccsid]:
            remark += (". The published table had %d bytes, counted from other data; ICU's "
                       "mappings give %s distinct pages of low bytes besides page 0"
                       % (PUBLISHED_REVERSE_SIZE[ccsid],
                          size // 256 - 1 if isinstance(size, int) else "?"))
        out.append("| %d | %s | %s | %s |" % (ccsid, source_label(source), size, remark))
    return "\n".join(out) + "\n"


# ------------------------------------------------------------------- main

def generate(sources):
    """Renders every table it can; returns the texts and the unavailable."""
    missing = []
    sbcs_blocks, dbcs_data, dbcs_entries, reverse_blocks = {}, {}, {}, {}
    block_counts, reverse_sizes = {}, {}
    for ccsid, source, positions, _ in SBCS:
        try:
            sbcs_blocks[ccsid] = render_sbcs_block(ccsid, source, sbcs_values(sources, source, positions))
        except Unavailable as why:
            missing.append("%d (%s)" % (ccsid, why))
    for ccsid, ebcdic, leads, source, note in DBCS:
        try:
            wards, blocks = dbcs_table(sources, ccsid, ebcdic, leads, source)
        except Unavailable as why:
            missing.append("%d (%s)" % (ccsid, why))
            continue
        block_counts[ccsid] = len(blocks)
        dbcs_data[ccsid] = render_dbcs_data(ccsid, source, note, wards, blocks)
        dbcs_entries[ccsid] = render_dbcs_entry(ccsid, ebcdic, leads, wards, blocks)
    for ccsid, source in REVERSE:
        try:
            flat, substitution = reverse_table(sources, source)
        except Unavailable as why:
            missing.append("UCS-2 to %d (%s)" % (ccsid, why))
            continue
        reverse_sizes[ccsid] = len(flat)
        reverse_blocks[ccsid] = render_reverse_block(ccsid, source, flat, substitution)
    return {"sbcs": sbcs_blocks, "dbcs_data": dbcs_data, "dbcs_entries": dbcs_entries,
            "reverse": reverse_blocks, "block_counts": block_counts,
            "reverse_sizes": reverse_sizes}, missing


def whole_files(parts):
    return {
        OUT_SBCS: render_sbcs([parts["sbcs"][c] for c, *_ in SBCS]),
        OUT_DBCS: render_dbcs([parts["dbcs_data"][c] for c, *_ in DBCS],
                              [parts["dbcs_entries"][c] for c, *_ in DBCS]),
        OUT_REVERSE: render_reverse([parts["reverse"][c] for c, _ in REVERSE]),
        OUT_README: render_readme(parts["block_counts"], parts["reverse_sizes"]),
        OUT_SOURCES: render_sources(),
    }


def check(root, parts, missing):
    failures = []

    def committed(path):
        with open(os.path.join(root, path), encoding="utf-8") as handle:
            return handle.read()

    texts = {OUT_SBCS: committed(OUT_SBCS), OUT_DBCS: committed(OUT_DBCS),
             OUT_REVERSE: committed(OUT_REVERSE)}
    for family, path in (("sbcs", OUT_SBCS), ("dbcs_data", OUT_DBCS),
                         ("dbcs_entries", OUT_DBCS), ("reverse", OUT_REVERSE)):
        for ccsid, block in parts[family].items():
            if block not in texts[path]:
                failures.append("%s: the %s block of %d differs from a fresh run" % (path, family, ccsid))
    if not missing:
        for path, text in whole_files(parts).items():
            old = committed(path)
            if old != text:
                diff = difflib.unified_diff(old.splitlines(True), text.splitlines(True),
                                            path, path + " (fresh)", n=1)
                failures.append("".join(list(diff)[:60]))
    elif committed(OUT_SOURCES) != render_sources():
        failures.append("%s differs from a fresh run" % OUT_SOURCES)
    return failures


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--source-dir", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser.add_argument("--dumper")
    parser.add_argument("--npm-dir")
    args = parser.parse_args()
    root = args.source_dir
    with tempfile.TemporaryDirectory(prefix="kiv-cptables-") as work:
        npm_dir = args.npm_dir
        if npm_dir is None and not args.check and shutil.which("npm"):
            npm_dir = os.path.join(work, "npm")
            os.makedirs(npm_dir)
            subprocess.run(["npm", "install", "--no-save", "--silent", "--prefix", npm_dir,
                            NPM_PACKAGE], check=True)
        sources = Sources(root, args.dumper, npm_dir, work)
        parts, missing = generate(sources)
    if args.check:
        failures = check(root, parts, missing)
        compared = sum(len(parts[f]) for f in ("sbcs", "dbcs_data", "reverse"))
        print("%s --check: %d tables compared" % (GENERATOR, compared))
        for item in missing:
            print("  not compared, source not installed: %s" % item)
        if failures:
            print("\n".join(failures))
            return 1
        return 0
    if missing:
        sys.exit("%s: sources missing, nothing written: %s" % (GENERATOR, "; ".join(missing)))
    for path, text in whole_files(parts).items():
        full = os.path.join(root, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as handle:
            handle.write(text)
    print("%s: wrote %d single-byte, %d double-byte and %d reverse tables"
          % (GENERATOR, len(SBCS), len(DBCS), len(REVERSE)))
    for ccsid, count in parts["block_counts"].items():
        print("  %d: %d blocks" % (ccsid, count))
    for ccsid, size in parts["reverse_sizes"].items():
        print("  UCS-2 to %d: %d bytes" % (ccsid, size))
    return 0


if __name__ == "__main__":
    sys.exit(main())
