// Messages and catalogs: where the library's texts come from.
//
// A KivClMessageCatalog opens its catalog file when it is made. The library's
// own catalog "qrnmsg50.cat" is installed under <prefix>/share/kiv/nls and is
// found only along NLSPATH (for example NLSPATH=<prefix>/share/kiv/nls/%N):
// the system's default places under /usr/share/locale do not hold it. When
// the file is not found, a catalog answers from a string table attached with
// useStringTable() (the library's built-in table holds the same texts) and,
// without one, with the text "UNABLE TO LOAD MESSAGE CATALOG: qrnmsg50.cat".
//
// Usage: kiv_messages_example <directory holding qrnmsg50.cat>

#include <kiv_envvar.hpp>
#include <kiv_error.hpp>
#include <kiv_message.hpp>
#include <kiv_msgcat.hpp>
#include <kiv_msgtable.hpp>

#include <cstdio>
#include <string>

namespace {

// Fetches message `id` with two inserts and tells where its text came from.
void show(const KivClMessageCatalog& catalog, unsigned long id) {
  // Message 2 of the library is "Percent:%% Arg1:%1 ... Arg10:%10"; inserts
  // that are not given read "???".
  const KivClMessage message(catalog, id, "north", "south");
  const char* source = !message.isLoaded() ? "fallback text"
                       : catalog.isOpen()  ? "from the catalog file"
                                           : "from the string table";
  std::printf("  message %lu (%s): %s\n", id, source, message.getText());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <directory holding qrnmsg50.cat>\n", argv[0]);
    return 2;
  }

  // Without NLSPATH the catalog file is not found and nothing is reported:
  // the catalog is simply not open.
  KivClEnvironmentVariable nlspath("NLSPATH", nullptr);
  {
    KivClMessageCatalog catalog;
    std::printf("NLSPATH unset: %s open: %s\n", catalog.getAsCString(),
                catalog.isOpen() ? "yes" : "no");
    show(catalog, 2);
    catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
    std::printf("NLSPATH unset, built-in table attached:\n");
    show(catalog, 2);
  }

  // NLSPATH is read when a catalog is opened; %N stands for "qrnmsg50.cat".
  nlspath.setNewValue((std::string(argv[1]) + "/%N").c_str());
  KivClMessageCatalog catalog;
  std::printf("NLSPATH=<catalog directory>/%%N: %s open: %s\n", catalog.getAsCString(),
              catalog.isOpen() ? "yes" : "no");
  show(catalog, 2);
  // An open catalog answers alone: an id it lacks gives a fallback text that
  // names the id, even when a string table is attached.
  catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  show(catalog, 500);

  // The names of error ids, classes, severities and actions are messages too.
  const unsigned long nameId = kivErrorGetIdAsMessageId(KIV_FILE_COULD_NOT_REMOVE);
  std::printf("error %ld is named by message %lu: %s\n", KIV_FILE_COULD_NOT_REMOVE, nameId,
              KivClMessage(catalog, nameId).getText());

  // The flat interface: a handle whose texts live until its next fetch.
  KivClMessageCatalogProxy* handle = kivMsgCatOpen("qrnmsg50");
  if (handle == nullptr) return 1;
  std::printf("flat interface, message 17: %s\n", kivMsgCatGet(handle, 17));
  kivMsgCatClose(handle);
  return 0;
}
