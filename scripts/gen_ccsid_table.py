#!/usr/bin/env python3
"""Generates the CCSID table of the KIV Library.

Writes codepage/kiv_ccsid_table.cpp: the constant table behind KivClCCSID,
one row per known CCSID (number, name, property bits), sorted by CCSID and
preceded by the sentinel row 0 that stands for every unknown CCSID.

The rows are kept below in the grouped form in which they are maintained:
one group per combination of properties, each group in ascending CCSID
order. A row is a CCSID number, followed by its name in parentheses and
double quotes when the name is not the number itself written in decimal.
Extended CCSIDs carry the name of their base code page (4133 ("037")).
Each group header gives the group's properties and its number of rows,
which the script checks. The unit tests read the same block (between the
GROUPED_ROWS markers) and compare every compiled row with it, so keep its
format: a header line "[<properties>] <count>", then the rows separated by
commas over as many lines as needed.

Usage:
  scripts/gen_ccsid_table.py            rewrite the committed file
  scripts/gen_ccsid_table.py --check    compare it with a fresh run
                                        (exit 1 and a diff when they differ)
Options: --source-dir DIR (the repository; default: the parent of scripts/),
         --output FILE (write elsewhere).
"""

import argparse
import difflib
import os
import re
import sys

GENERATOR = "scripts/gen_ccsid_table.py"
CPP_PATH = os.path.join("codepage", "kiv_ccsid_table.cpp")

# Property bits of a row; the words of a group header name them.
PROPERTY_BITS = {"ASCII": 1, "EBCDIC": 2, "DBCS": 4, "SBCS": 8, "UCS2": 64, "none": 0}
PROPERTY_NAMES = [(1, "ASCII"), (2, "EBCDIC"), (4, "DBCS"), (8, "SBCS"), (64, "UCS2")]

SENTINEL_NAME = "???"

# BEGIN GROUPED_ROWS
GROUPED_ROWS = """
[ASCII SBCS] 84
437, 737, 819 ("ISO8859-1"), 848, 850, 852, 855, 857, 858, 860, 861, 862, 863,
864, 865, 866, 867, 869, 872, 874, 878, 891, 895, 901, 902, 912 ("ISO8859-2"),
915 ("ISO8859-5"), 916 ("ISO8859-8"), 920 ("ISO8859-9"), 921, 922,
923 ("ISO8859-15"), 1040, 1041, 1042, 1043, 1046, 1051, 1088, 1089 ("ISO8859-6"),
1114, 1115, 1124, 1125, 1129, 1131, 1137, 1140, 1141, 1143, 1144, 1146, 1147,
1148, 1149, 1161, 1163, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258,
1275, 1280, 1281, 1282, 1283, 4909, 5210, 5346, 5347, 5348, 5349, 5350, 5351,
5352, 5353, 5354, 9048, 17248

[EBCDIC SBCS] 40
37, 273, 274, 277, 278, 280, 284, 285, 290, 297, 420, 423, 424, 500, 833, 836,
870, 871, 875, 924, 1025, 1026, 1027, 1112, 1122, 1123, 1130, 1142, 1145, 1153,
1154, 1155, 1156, 1157, 1158, 1159, 1160, 1164, 4971, 13121

[ASCII] 170
367, 851, 853, 856, 868, 896, 897, 903, 904, 926, 928, 929, 944, 946, 947, 951,
952, 955, 960, 961, 963, 971, 1004, 1006, 1008, 1009, 1010, 1011, 1012, 1013,
1014, 1015, 1016, 1017, 1018, 1019, 1098, 1208 ("UTF-8"), 1276, 1277, 1350,
1380, 1382, 4533 ("437"), 4946 ("850"), 4947 ("851"), 4948, 4949 ("853"), 4951,
4952, 4953, 4960, 4964 ("868"), 4965 ("869"), 4970 ("874"), 4993 ("897"),
5028 ("932"), 5048, 5049, 5050 ("ZOR33722"), 5067, 5142, 5478, 8629 ("437"),
9044, 9047 ("855"), 9049, 9056, 9060 ("868"), 9061, 9066, 9089 ("897"), 9145,
9146 ("ZOR33722"), 9238, 12725 ("437"), 13152 ("864"), 16821 ("437"),
20917 ("437"), 24877 ("301"), 25013 ("437"), 25426 ("850"), 25427 ("851"),
25428 ("852"), 25429 ("853"), 25431 ("855"), 25432 ("856"), 25433 ("857"),
25436 ("860"), 25437 ("861"), 25438 ("862"), 25439 ("863"), 25440 ("864"),
25441 ("865"), 25444 ("868"), 25445 ("869"), 25450 ("874"), 25467 ("891"),
25473 ("897"), 25479 ("903"), 25480 ("904"), 25502 ("926"), 25503 ("927"),
25504 ("928"), 25505 ("929"), 25508 ("932"), 25510 ("934"), 25512 ("936"),
25514 ("938"), 25518 ("942"), 25520 ("944"), 25522 ("946"), 25524 ("948"),
25616 ("1040"), 25617 ("1041"), 25618 ("1042"), 25619 ("1043"), 29109 ("437"),
29522 ("850"), 29523 ("851"), 29524 ("852"), 29525 ("853"), 29527 ("855"),
29528 ("856"), 29529 ("857"), 29532 ("860"), 29533 ("861"), 29534 ("862"),
29535 ("863"), 29536 ("864"), 29537 ("865"), 29540 ("868"), 29541 ("869"),
29546 ("874"), 29614 ("942"), 29616 ("944"), 29618 ("946"), 29620 ("948"),
29712 ("1040"), 29713 ("1041"), 29714 ("1042"), 29715 ("1043"), 33205 ("437"),
33618 ("850"), 33619 ("851"), 33620 ("852"), 33621 ("853"), 33623 ("855"),
33624 ("856"), 33632 ("864"), 33636 ("868"), 33637 ("869"), 33665 ("897"),
33700 ("932"), 37301 ("437"), 37719 ("855"), 37728 ("864"), 37732 ("868"),
37761 ("897"), 37796 ("932"), 41397 ("437"), 41824 ("864"), 41828 ("868"),
45493 ("437"), 45920 ("864"), 49589 ("437"), 61697 ("850"), 61698 ("850"),
61699 ("ISO8859-7"), 61700 ("367")

[EBCDIC] 80
256, 275, 286, 293, 300, 421, 803, 834, 835, 837, 839, 880, 905, 918, 931, 1047,
1097, 4133 ("037"), 4369 ("273"), 4370 ("274"), 4371 ("275"), 4372 ("276"),
4373 ("277"), 4374 ("278"), 4376 ("280"), 4378 ("282"), 4380 ("284"),
4381 ("285"), 4386 ("290"), 4393 ("297"), 4396 ("300"), 4516 ("420"),
4519 ("423"), 4520 ("424"), 4596 ("500"), 4929 ("833"), 4932 ("836"),
4934 ("838"), 4966 ("870"), 4967 ("871"), 4976 ("880"), 5014 ("918"),
5029 ("933"), 5031 ("935"), 5033 ("937"), 8229 ("037"), 8448 ("256"),
8476 ("284"), 8489 ("297"), 8612, 8692 ("500"), 9030, 9122 ("930"),
12325 ("037"), 12544 ("256"), 12712, 12788 ("500"), 13218 ("930"),
13219 ("931"), 13242 ("ZOR33722"), 16421 ("037"), 16884 ("500"), 20517 ("037"),
20980 ("500"), 24613 ("037"), 25076 ("500"), 28709 ("037"), 29172 ("500"),
32805 ("037"), 33058 ("290"), 33268 ("500"), 33698 ("930"), 33699 ("931"),
37364 ("500"), 41460 ("500"), 45556 ("500"), 49652 ("500"), 53748 ("500"),
61696 ("500"), 61712 ("500")

[ASCII DBCS] 29
301, 927, 932, 934, 936, 938, 941, 942, 943, 948, 949, 950, 954 ("ZOR33722"),
964, 970, 1351, 1363, 1381, 1383, 1386, 1390, 1392 ("GB-18030"), 1394, 1399,
5039, 5488 ("GB-18030"), 18030 ("GB-18030"), 21427, 33722

[EBCDIC DBCS] 15
930, 933, 935, 937, 939, 1364, 1388, 4930, 4933, 5026 ("930"), 5035 ("939"),
5123, 8482, 9027, 16684

[UCS2] 6
1200 ("ISO10646-1"), 13488 ("UCS-2"), 17584 ("UCS-2"), 61955 ("UCS-2"),
65500 ("UCS-2B"), 65501 ("UCS-2L")

[SBCS] 3
806, 813 ("ISO8859-7"), 838

[none] 2
259, 4352 ("256")
"""
# END GROUPED_ROWS

# Every row plus the sentinel.
TABLE_SIZE = 430

HEADER_RE = re.compile(r"^\[([A-Za-z0-9 ]+)\] (\d+)$")
ROW_RE = re.compile(r'^(\d+)(?: \("([^"]+)"\))?$')


def fail(message):
    sys.stderr.write("%s: %s\n" % (GENERATOR, message))
    sys.exit(2)


def parse_groups(text):
    """[(header, bits, declared count, [(ccsid, name), ...]), ...]"""
    groups = []
    pending = ""
    for line in text.splitlines() + [""]:
        line = line.strip()
        match = HEADER_RE.match(line)
        if match or not line:
            if pending:
                if not groups:
                    fail("rows before the first group header")
                for item in pending.split(","):
                    item = item.strip()
                    row = ROW_RE.match(item)
                    if not row:
                        fail("cannot read the row %r" % item)
                    ccsid = int(row.group(1))
                    groups[-1][3].append((ccsid, row.group(2) or str(ccsid)))
                pending = ""
            if match:
                bits = 0
                for word in match.group(1).split():
                    if word not in PROPERTY_BITS:
                        fail("unknown property %r" % word)
                    bits |= PROPERTY_BITS[word]
                groups.append((match.group(1), bits, int(match.group(2)), []))
            continue
        pending += " " + line
    return groups


def table_rows(groups):
    rows = []
    for header, bits, count, members in groups:
        if len(members) != count:
            fail("group [%s] has %d rows, not %d" % (header, len(members), count))
        numbers = [ccsid for ccsid, _ in members]
        if numbers != sorted(numbers):
            fail("group [%s] is not in ascending order" % header)
        rows.extend((ccsid, name, bits) for ccsid, name in members)
    rows.sort()
    for previous, current in zip(rows, rows[1:]):
        if previous[0] == current[0]:
            fail("CCSID %d is listed twice" % current[0])
    if rows[0][0] == 0:
        fail("CCSID 0 is the sentinel and cannot be listed")
    rows.insert(0, (0, SENTINEL_NAME, 0))
    if len(rows) != TABLE_SIZE:
        fail("the table has %d rows, not %d" % (len(rows), TABLE_SIZE))
    return rows


def property_expression(bits):
    names = ["kCCSID" + name for bit, name in PROPERTY_NAMES if bits & bit]
    return " | ".join(names) if names else "0"


def render_cpp(rows):
    out = [
        "// Generated by %s from its grouped list of CCSIDs; do not edit." % GENERATOR,
        "// clang-format off",
        "//",
        "// The CCSID table behind KivClCCSID: row 0 is the sentinel that stands for",
        "// every unknown CCSID; the other rows follow in ascending CCSID order, so",
        "// that a CCSID is found by binary search.",
        '#include "kiv_ccsid_table.hpp"',
        "",
        "namespace kiv::detail {",
        "",
        "const _KivStCCSIDEntry gs_castCSIDDatabase[kCCSIDTableSize] = {",
    ]
    for ccsid, name, bits in rows:
        out.append('    {%d, "%s", %s},' % (ccsid, name, property_expression(bits)))
    out += ["};", "", "}  // namespace kiv::detail", ""]
    return "\n".join(out)


def read(path):
    with open(path, encoding="utf-8") as handle:
        return handle.read()


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--source-dir", default=os.path.dirname(here))
    parser.add_argument("--output")
    parser.add_argument("--check", action="store_true")
    args = parser.parse_args()

    fresh = render_cpp(table_rows(parse_groups(GROUPED_ROWS)))
    path = os.path.join(args.source_dir, CPP_PATH)

    if args.check:
        committed = read(path) if os.path.exists(path) else ""
        if committed != fresh:
            sys.stdout.writelines(difflib.unified_diff(
                committed.splitlines(True), fresh.splitlines(True),
                path + " (committed)", path + " (generated)"))
            print("The generated CCSID table is out of date: run %s." % GENERATOR)
            return 1
        print("%s matches %s." % (CPP_PATH, GENERATOR))
        return 0

    with open(args.output or path, "w", encoding="utf-8", newline="\n") as handle:
        handle.write(fresh)
    return 0


if __name__ == "__main__":
    sys.exit(main())
