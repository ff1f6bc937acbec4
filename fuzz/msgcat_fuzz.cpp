// Fuzz target of message catalog files.
//
// Input: the whole contents of a catalog file. It is written as
// qrnmsg50.cat into a directory named by NLSPATH and opened every way a
// program opens a catalog: the library's default catalog (found through
// NLSPATH), a catalog named by its path, the flat interface by name, and
// the flat interface with the built-in table as fallback. Whatever the
// file holds, opening must not crash; a file that does not open is simply
// not open; every way must agree on whether it opened; and every text
// fetched must fit the documented sizes and, for the fallback table, be the
// table's text.
#include <stdlib.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"

namespace {

const std::string& catalogDirectory() {
  static const std::string directory = kivfuzz::ScratchDir::path();
  return directory;
}

const unsigned long gs_ids[] = {0,   1,   2,   3,     7,
                                151, 220, 221, 65535, static_cast<unsigned long>(INT_MAX) + 1};

void fetchAll(const KivClMessageCatalog& catalog) {
  for (const unsigned long id : gs_ids) {
    const KivClMessage message(catalog, id, "one", "two", nullptr, "four");
    KIV_FUZZ_CHECK(message.getText() != nullptr);
    KIV_FUZZ_CHECK(std::strlen(message.getText()) <= KIV_MESSAGE_MAX_LENGTH);
    if (id == 1 && catalog.isOpen()) KIV_FUZZ_CHECK(message.isLoaded());
    if (id > static_cast<unsigned long>(INT_MAX)) KIV_FUZZ_CHECK(!message.isLoaded());
  }
}

void fetchFlat(KivClMessageCatalogProxy* handle) {
  for (const unsigned long id : gs_ids) {
    const char* text = kivMsgCatGet(handle, id);
    KIV_FUZZ_CHECK(text != nullptr && std::strlen(text) < KIV_MSGCAT_TEXT_BUFFER_SIZE);
    text = kivMsgCatGetVar(handle, id, "a", "b", "c", nullptr);
    KIV_FUZZ_CHECK(text != nullptr && std::strlen(text) < KIV_MSGCAT_TEXT_BUFFER_SIZE);
    kivMsgCatIsValid(handle, id);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("NLSPATH", (catalogDirectory() + "/%N").c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = catalogDirectory() + "/" + KIV_MSGCAT_DEFAULT_NAME;
  kivfuzz::writeWholeFile(path + KIV_MSGCAT_EXTENSION, data, size);

  const KivClMessageCatalog byDefault;
  KIV_FUZZ_CHECK(byDefault.isDefaultCatalog());
  fetchAll(byDefault);

  const KivClMessageCatalog byPath{KivClFilename(path.c_str())};
  KIV_FUZZ_CHECK(byPath.isOpen() == byDefault.isOpen());
  fetchAll(byPath);

  KivClMessageCatalogProxy* handle = kivMsgCatOpen(KIV_MSGCAT_DEFAULT_NAME);
  KIV_FUZZ_CHECK((handle != nullptr) == byDefault.isOpen());
  if (handle != nullptr) fetchFlat(handle);
  kivMsgCatClose(handle);

  handle = kivMsgCatOpenOrUseStringTable(path.c_str(), kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  KIV_FUZZ_CHECK(handle != nullptr);
  fetchFlat(handle);
  if (!handle->getCatalog()->isOpen()) {
    KIV_FUZZ_CHECK(std::strcmp(kivMsgCatGet(handle, 3), kivMsgTabGetBuiltInTable()[3]) == 0);
    KIV_FUZZ_CHECK(kivMsgCatIsValid(handle, 220));
    KIV_FUZZ_CHECK(!kivMsgCatIsValid(handle, 221));
  }
  kivMsgCatClose(handle);
  return 0;
}
