/// \file
/// KIV Library: the built-in message table.
///
/// Every text the library shows is fetched by message id. When no message
/// catalog file can be opened, a catalog may fall back on a string table
/// compiled into the program; this header gives access to the library's own
/// one. The table is an array of KIV_MSGTAB_ENTRIES (222) text pointers
/// indexed directly by message id, of which the first KIV_MSGTAB_SIZE (221)
/// are served: pass that size when attaching the table to a catalog.
///
/// Contents by id:
/// ~~~
///   0         "[KIV_MSGTAB_SIGNATURE] 221" - marker line with the number of
///             usable entries; entry 221 is the closing marker
///             "[KIV_MSGTAB_SIGNATURE]". Together they frame the table so
///             that tools can find it in the binary and replace its texts.
///   1, 220    "[KIV-LIBRARY]", the owner marker.
///   2 - 46    texts of the console user interface and of the error displays.
///   47 - 149  the names of the error ids (47 - 105), error classes (106 -
///             132), severities (133 - 140) and recommended actions (141 -
///             149), in the order of the lists in kiv_errorids.hpp, so that
///             kivErrorGetIdAsMessageId() and its companions index this table.
///             Action PANIC (149) repeats the word of severity PANIC (140) on
///             purpose: each value has an id of its own.
///   150 - 199 the texts of a trace controller program: title, usage string
///             (151), help text (152), switch names, labels and errors.
///             Switch name "fdetail" is there twice (161 and 169) on purpose.
///   200 - 219 unused slots, each "?".
/// ~~~
///
/// Texts may hold inserts ("%1" to "%10") and write "%%" for a percent sign.
/// The usage string 151 is seven lines separated by newline characters,
/// without a newline after the last. The help text 152 has three sections
/// separated by lines holding only `@` (the console shows them as empty
/// lines); each of the first two sections ends with a newline before its `@`
/// line, and the text ends with the last line of the third section, without
/// a trailing newline. In the third section the tab character's line repeats
/// the letter t of the thread id line ("%%t"). Catalog files are made from
/// this table id by id, so its texts are kept exactly as they are, that line
/// and the spelling "Exception occured" (44 - 46) included.
///
/// The library never reads the markers and never changes the table.
///
/// Ownership: the table and its texts are constants of the library, valid for
/// the whole run; never free or modify them. Failure: none. Thread safety:
/// read-only data, safe from any thread.
#ifndef KIV_MSGTABLE_HPP
#define KIV_MSGTABLE_HPP

#include "kiv_export.hpp"

/// Number of entries a catalog may serve from the built-in table (ids 0 to
/// 220); the size to pass when attaching the table to a catalog.
inline constexpr unsigned long KIV_MSGTAB_SIZE = 221;

/// Number of entries the table holds, the closing marker (id 221) included.
inline constexpr unsigned long KIV_MSGTAB_ENTRIES = 222;

extern "C" {

/// The built-in message table: KIV_MSGTAB_ENTRIES text pointers, none null,
/// indexed by message id. Owned by the library; never null.
KIV_EXPORT const char* const* kivMsgTabGetBuiltInTable();

}  // extern "C"

#endif
