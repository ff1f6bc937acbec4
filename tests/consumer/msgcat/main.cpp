// A program that finds the installed catalog of the library along NLSPATH
// and reads its owner marker.
#include <kiv_msgcat.hpp>

#include <cstdio>
#include <cstring>

int main() {
  KivClMessageCatalogProxy* handle = kivMsgCatOpen("qrnmsg50");
  if (handle == nullptr) {
    std::printf("msgcat consumer: qrnmsg50.cat not found along NLSPATH\n");
    return 1;
  }
  const char* text = kivMsgCatGet(handle, 1);
  std::printf("msgcat consumer: message 1 is %s\n", text);
  const bool ok = std::strcmp(text, "[KIV-LIBRARY]") == 0;
  kivMsgCatClose(handle);
  return ok ? 0 : 2;
}
