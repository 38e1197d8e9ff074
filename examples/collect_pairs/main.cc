// Reads the fields of a log line.

#include <iostream>
#include <list>
#include <string_view>
#include <utility>

#include <vu/pattern.h>

int main() {
  const std::string_view line =
      "2026-11-23 10:02:11 level=warn user=ann msg=\"disk is full\" note= ms=12";
  try {
    // Group 1 is the name, group 2 the value, in quotes or not. Compile it once, use it for every
    // line; threads need one each.
    NvalPcre field(R"re((\w+)="?((?<=")[^"]*|[^"\s]*))re");

    std::list<std::pair<CharSizet_t, CharSizet_t>> fields;  // views into `line`
    insertNV2List(fields, field, line);
    for (const auto& [name, value] : fields) {
      std::cout << name.view() << ": " << (value.size > 0 ? value.view() : "(empty)") << '\n';
    }

    // A number among them, whatever decimal mark the locale has.
    const CharSizet_t* const ms = findValue(fields, "ms");
    if (ms != nullptr) {
      std::cout << str2val<int>(std::string(ms->view())) * 1000 << " microseconds\n";
    }
  } catch (const vu_exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
