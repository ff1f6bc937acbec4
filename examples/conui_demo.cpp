// A small console tool on the library's console user interface: it counts
// the lines, words and bytes of a file and shows them as aligned label-value
// lines. Its command line is described once, by the usage string, from which
// the console UI derives the legal arguments, the usage and help displays and
// the errors for a bad command line, besides the built-in switches of every
// such tool: -h, -H or -? for help, -quiet and -copyright.
//
//   kiv_conui_demo -in <file> [-width <columns>] [-right | -centre] [-hex]

#include <kiv.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

// The "!" line is tagged: it is hidden from the usage display below, and
// with it the newline that ends it.
const char* const gs_usage =
    "![(-debug <level>)]\n"
    "(-in <file>) [(-width <columns>)] [-right | -centre] [-hex]";

const char* const gs_help =
    "-in <file>          the file to count\n"
    "-width <columns>    width of the label column (10 to 60, default 36)\n"
    "-right, -centre     justify the labels to the right or centre them\n"
    "-hex                show the first 32 bytes of the file in hexadecimal\n"
    "@\n"
    "The exit status is 0 when the file could be read, 1 when it could not,\n"
    "and 201 to 204 for a bad command line.";

struct Counts {
  unsigned long lines = 0, words = 0, bytes = 0;
};

Counts count(const std::string& text) {
  Counts counts;
  bool inWord = false;
  for (const char c : text) {
    ++counts.bytes;
    if (c == '\n') ++counts.lines;
    const bool blank = std::isspace(static_cast<unsigned char>(c)) != 0;
    if (!blank && !inWord) ++counts.words;
    inWord = !blank;
  }
  return counts;
}

}  // namespace

int main(int argc, char** argv) {
  KivClConsoleUI ui(argc, argv);
  ui.init("Line, word and byte counter", "1.0", "Demo 1.0", "2024-06-01");
  ui.hideTaggedLines();
  ui.handleUsageHelp(gs_usage, gs_help);

  // A missing -in ends the tool here with the usage display (exit 201); a
  // -width without a number ends it with 203 or 204.
  const char* input = nullptr;
  ui.reqArgString("in", input);
  long width = 36;
  if (ui.hasArgNumval("width", width) && (width < 10 || width > 60)) {
    ui.warning("Width out of range, using 36", std::to_string(width).c_str());
    width = 36;
  }
  ui.setFormatWidth(static_cast<unsigned int>(width));
  if (ui.hasArgSwitch("right")) ui.setFormatStyle(KivEnFormatStyle::RIGHT);
  if (ui.hasArgSwitch("centre")) ui.setFormatStyle(KivEnFormatStyle::CENTRED);

  std::ifstream file(input, std::ios::binary);
  if (!file) {
    const int error = errno;
    ui.error("Cannot read the input file", input, std::strerror(error));
    ui.processExit(1);
  }
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const Counts counts = count(text);

  ui.formatHeader("Counts");
  ui.format("File", input);
  ui.format("Lines", counts.lines);
  ui.format("Words", counts.words);
  ui.format("Bytes", counts.bytes);
  ui.formatBool("Ends with a newline", !text.empty() && text.back() == '\n');
  if (ui.hasArgSwitch("hex")) {
    ui.dump("First bytes", text.data(), std::min<unsigned long>(text.size(), 32));
  }
  ui.newline();
  return 0;
}
