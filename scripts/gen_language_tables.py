#!/usr/bin/env python3
"""Generates the language and territory tables of the KIV Library.

Writes language/kiv_language_tables.cpp (the two constant tables) and the
enumerator blocks of kiv_include/kiv_language.hpp (one enumerator per row)
from the ISO 639 and ISO 3166 JSON files of the iso-codes package.

The row order is fixed here: it is the library's numbering of languages and
territories (the enumerator values and the packed numbers that callers store)
and must never change. The data source supplies the names, the three-letter
territory codes and the numeric territory ids. A few rows are not, or no
longer, in ISO 3166-1 or ISO 639-1 and are written out below in full.

Names are folded to plain ASCII (accents dropped: "Cote d'Ivoire"), so that
they read the same in every ASCII-based code page.

Usage:
  scripts/gen_language_tables.py            rewrite the committed files
  scripts/gen_language_tables.py --check    compare them with a fresh run
                                            (exit 1 and a diff when they differ)
Options: --iso-codes-dir DIR (default /usr/share/iso-codes/json),
         --source-dir DIR (the repository; default: the parent of scripts/),
         --output-cpp FILE, --output-header FILE (write elsewhere).
"""

import argparse
import difflib
import json
import os
import sys
import unicodedata

GENERATOR = "scripts/gen_language_tables.py"
CPP_PATH = os.path.join("language", "kiv_language_tables.cpp")
HEADER_PATH = os.path.join("kiv_include", "kiv_language.hpp")

# The language codes in row order (sorted without regard to case). Row 0 is
# the unspecified language.
LANGUAGE_CODES = """
** aa ab af am ar as ay az ba be bg bh bi bn bo br ca co cs cy da de dz el en
eo es et eu fa fi fj fo fr fy ga gd gl gn gu ha he hi hr hu hy ia id ie ik is
it iu iw ja jv ka kk kl km kn ko ks ku ky la ln lo lt lv mg mi mk ml mn mo mr
ms mt my na nb ne nl nn no oc om or pa pl ps pt qu rm rn ro ru rw sa sd sg sh
si sk sl sm sn so sq sr ss st su sv sw ta te tg th ti tk tl tn to tr ts tt tw
ug uk ur uz vi vo wo xh yi yo za zh zu
""".split()

# The territory short codes in row order. Row 0 is the unspecified territory.
TERRITORY_CODES = """
** aa ad ae af ag ai al am an ao aq ar as at au aw az ba bb bd be bf bg bh bi
bj bm bn bo br bs bt bv bw by bz ca cc cf cg ch ci ck cl cm cn co cr cu cv cx
cy cz de dj dk dm do dz ec ee eg eh er es et fi fj fk fm fo fr fx ga gb gd ge
gf gh gi gl gm gn gp gq gr gs gt gu gw gy hk hm hn hr ht hu id ie il in io iq
ir is it jm jo jp ke kg kh ki km kn kp kr kw ky kz la lb lc li lk lr ls lt lu
lv ly ma mc md mg mh mk ml mm mn mo mp mq mr ms mt mu mv mw mx my mz na nc ne
nf ng ni nl no np nr nu nz om pa pe pf pg ph pk pl pm pn pr pt pw py qa re ro
ru rw sa sb sc sd se sg sh si sj sk sl sm sn so sp sr st sv sy sz tc td tf tg
th tj tk tm tn to tp tr tt tv tw tz ua ug um us uy uz va vc ve vg vi vn vu wf
ws ye yt yu za zm zr zw
""".split()

# Language rows whose names are the library's own: the unspecified row, the
# withdrawn codes kept beside their successors, and the Norwegian forms.
FIXED_LANGUAGES = {
    "**": "Unspecified",
    "he": "Hebrew",
    "iw": "Hebrew",
    "mo": "Moldavian",
    "nb": "Norwegian (Bokmal)",
    "nn": "Norwegian (Nynorsk)",
    "sh": "Serbo-Croatian",
}

# Territory rows written out in full: (long code, numeric id, name). "aa" is
# the Arabic-speaking region and "sp" Serbia as the library has always named
# them, without ISO numbers; the withdrawn codes keep their short names. Where
# the data source knows a code, its three-letter code and number must agree.
FIXED_TERRITORIES = {
    "**": ("***", 0, "Unspecified"),
    "aa": ("ara", 0, "Arabic"),
    "fx": ("fxx", 249, "France Metropolitan"),
    "sp": ("ser", 0, "Serbia"),
    "tp": ("tmp", 626, "East Timor"),
    "yu": ("yug", 891, "Yugoslavia"),
    "zr": ("zar", 180, "Zaire"),
    "gb": ("gbr", 826, "United Kingdom"),
    "us": ("usa", 840, "United States"),
}

MACROLANGUAGE_SUFFIX = " (macrolanguage)"


def fail(message):
    sys.stderr.write("gen_language_tables.py: %s\n" % message)
    sys.exit(2)


def ascii_fold(text):
    """Drops accents; fails on any character that does not fold to ASCII."""
    decomposed = unicodedata.normalize("NFKD", text)
    folded = "".join(c for c in decomposed if not unicodedata.combining(c))
    if any(ord(c) < 0x20 or ord(c) > 0x7E for c in folded):
        fail("name %r does not fold to printable ASCII" % text)
    return folded


def c_string(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def load(iso_dir, name, key):
    path = os.path.join(iso_dir, name)
    try:
        with open(path, encoding="utf-8") as handle:
            return json.load(handle)[key]
    except (OSError, ValueError, KeyError) as error:
        fail("cannot read %s: %s" % (path, error))


def check_order(codes, what):
    if codes != sorted(codes, key=str.lower) or len(set(codes)) != len(codes):
        fail("the %s codes are not sorted and unique" % what)


def language_rows(iso_dir):
    """(code, name) per row. Names from ISO 639-3, else from ISO 639-2."""
    by_639_3 = {e["alpha_2"]: e for e in load(iso_dir, "iso_639-3.json", "639-3")
                if "alpha_2" in e}
    by_639_2 = {e["alpha_2"]: e for e in load(iso_dir, "iso_639-2.json", "639-2")
                if "alpha_2" in e}
    rows = []
    for code in LANGUAGE_CODES:
        if code in FIXED_LANGUAGES:
            name = FIXED_LANGUAGES[code]
        elif code in by_639_3:
            name = by_639_3[code]["name"]
            if name.endswith(MACROLANGUAGE_SUFFIX):
                name = name[: -len(MACROLANGUAGE_SUFFIX)]
        elif code in by_639_2:
            # ISO 639-2 lists alternatives separated by "; "; the first is
            # the preferred name.
            name = by_639_2[code]["name"].split(";")[0].strip()
        else:
            fail("language code %r is in neither ISO 639-3 nor ISO 639-2" % code)
        rows.append((code, ascii_fold(name)))
    return rows


def territory_rows(iso_dir):
    """(short, long, number, name) per row. ISO 3166-1 first, then 3166-3."""
    current = {e["alpha_2"].lower(): e for e in load(iso_dir, "iso_3166-1.json", "3166-1")}
    withdrawn = {}
    for entry in load(iso_dir, "iso_3166-3.json", "3166-3"):
        withdrawn.setdefault(entry["alpha_2"].lower(), []).append(entry)
    rows = []
    for code in TERRITORY_CODES:
        entry = current.get(code)
        if entry is None and code in withdrawn:
            if len(withdrawn[code]) != 1:
                fail("withdrawn territory code %r is ambiguous" % code)
            entry = withdrawn[code][0]
        if code in FIXED_TERRITORIES:
            long_code, number, name = FIXED_TERRITORIES[code]
            if entry is not None and (entry["alpha_3"].lower() != long_code
                                      or int(entry.get("numeric", "0")) != number):
                fail("territory %r disagrees with the data source" % code)
        elif entry is None:
            fail("territory code %r is in neither ISO 3166-1 nor ISO 3166-3" % code)
        else:
            long_code = entry["alpha_3"].lower()
            number = int(entry.get("numeric", "0"))
            name = entry["name"]
        rows.append((code, long_code, number, ascii_fold(name)))
    return rows


def enumerator(prefix, code):
    return prefix + ("UNSPECIFIED" if code == "**" else code.upper())


def render_cpp(languages, territories):
    out = []
    out.append("// Generated by %s from the iso-codes JSON files; do not edit." % GENERATOR)
    out.append("// clang-format off")
    out.append("//")
    out.append("// The language and territory tables: one row per enumerator of")
    out.append("// KivClLanguage::KivEnLanguage and KivClLanguage::KivEnTerritory, in the")
    out.append("// order of the two-letter codes without regard to case, so that codes are")
    out.append("// found by binary search. Names are ISO 639 and ISO 3166 English names")
    out.append("// folded to ASCII.")
    out.append('#include "kiv_language_tables.hpp"')
    out.append("")
    out.append("#include <iterator>")
    out.append("")
    out.append("namespace kiv::detail {")
    out.append("")
    out.append("const LanguageRow gs_acpszLanguageInfo[] = {")
    for code, name in languages:
        out.append("    {%s, %s}," % (c_string(code), c_string(name)))
    out.append("};")
    out.append("static_assert(std::size(gs_acpszLanguageInfo) == kLanguageRowCount,")
    out.append('              "one language row per enumerator");')
    out.append("")
    out.append("const TerritoryRow gs_acpszTerritoryInfo[] = {")
    for code, long_code, number, name in territories:
        out.append("    {%s, %s, %du, %s, KivClLanguage::KivEnTerritory::%s}," % (
            c_string(code), c_string(long_code), number, c_string(name),
            enumerator("TERRITORY_", code)))
    out.append("};")
    out.append("static_assert(std::size(gs_acpszTerritoryInfo) == kTerritoryRowCount,")
    out.append('              "one territory row per enumerator");')
    out.append("")
    out.append("}  // namespace kiv::detail")
    return "\n".join(out) + "\n"


def enumerator_lines(rows, prefix, indent):
    lines = []
    for index, row in enumerate(rows):
        lines.append("%s%s = %d,  ///< %s %s" % (
            indent, enumerator(prefix, row[0]), index, row[0], row[-1]))
    lines.append("%s%sINVALID = %d,  ///< one past the table: no such %s" % (
        indent, prefix, len(rows), prefix.rstrip("_").lower()))
    return lines


def replace_block(text, tag, lines):
    begin = "// BEGIN GENERATED %s" % tag
    end = "// END GENERATED %s" % tag
    start = text.find(begin)
    stop = text.find(end)
    if start < 0 or stop < start:
        fail("the header has no block %r ... %r" % (begin, end))
    line_start = text.rfind("\n", 0, start) + 1
    indent = text[line_start:start]
    head = text[: text.index("\n", start) + 1]
    return head + "\n".join(lines) + "\n" + indent + text[stop:]


def render_header(current, languages, territories):
    indent = "    "
    text = replace_block(current, "LANGUAGES", enumerator_lines(languages, "LANGUAGE_", indent))
    return replace_block(text, "TERRITORIES",
                         enumerator_lines(territories, "TERRITORY_", indent))


def read(path):
    try:
        with open(path, encoding="utf-8") as handle:
            return handle.read()
    except OSError as error:
        fail("cannot read %s: %s" % (path, error))


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--iso-codes-dir", default="/usr/share/iso-codes/json")
    parser.add_argument("--source-dir", default=os.path.dirname(here))
    parser.add_argument("--output-cpp")
    parser.add_argument("--output-header")
    parser.add_argument("--check", action="store_true")
    args = parser.parse_args()

    check_order(LANGUAGE_CODES, "language")
    check_order(TERRITORY_CODES, "territory")
    languages = language_rows(args.iso_codes_dir)
    territories = territory_rows(args.iso_codes_dir)

    cpp_path = os.path.join(args.source_dir, CPP_PATH)
    header_path = os.path.join(args.source_dir, HEADER_PATH)
    outputs = [
        (cpp_path, args.output_cpp, render_cpp(languages, territories)),
        (header_path, args.output_header,
         render_header(read(header_path), languages, territories)),
    ]

    if args.check:
        stale = False
        for path, _, fresh in outputs:
            committed = read(path) if os.path.exists(path) else ""
            if committed != fresh:
                stale = True
                sys.stdout.writelines(difflib.unified_diff(
                    committed.splitlines(True), fresh.splitlines(True),
                    path + " (committed)", path + " (generated)"))
        if stale:
            print("The generated language tables are out of date: run %s." % GENERATOR)
            return 1
        print("%s and %s match %s." % (CPP_PATH, HEADER_PATH, GENERATOR))
        return 0

    for path, override, fresh in outputs:
        with open(override or path, "w", encoding="utf-8", newline="\n") as handle:
            handle.write(fresh)
    return 0


if __name__ == "__main__":
    sys.exit(main())
