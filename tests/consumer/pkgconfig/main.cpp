// A program that uses the installed library through pkg-config.
#include <kiv.hpp>

#include <cstdio>

int main() {
  const unsigned m = kivErrorGetActionAsMessageId(KivEnErrorAction::RETRYDELAY);
  std::printf("pkg-config consumer: RETRYDELAY has message id %u\n", m);
  return m == 146 ? 0 : 1;
}
