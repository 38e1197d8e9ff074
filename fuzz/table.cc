// Compiled tables that somebody has forged: whatever the bytes behind a good header are, a look-up
// stays within the block and within its URL, and ends.
//
// Input: up to 16 changes, each the place in the block (two bytes) and the byte to put there; a NUL
// byte as the place's first ends them. Then the hosts, one a line.

#include "tests/plain/table.h"

#include <algorithm>

#include "domain/table_builder.h"
#include "fuzz/support.h"

using vu::fuzz::check;

namespace {

std::string goodBlock() {
  vu::detail::TableBuilder builder;
  for (const char* rule : {"uk", "co.uk", "Ltd.co.uk", "*.ck", "!www.ck", "x.y.deep.uk", "a..b"}) {
    builder.add(rule, vu::detail::kIcannRules);
  }
  return builder.finish({4, "version: 1\n"});
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string& good = *new std::string(goodBlock());
  std::string block = good;
  std::size_t at = 0;
  for (; at + 3 <= size && at < 48 && data[at] != 0; at += 3) {
    const std::size_t place = (data[at] << 8U | data[at + 1]) % block.size();
    block[place] = static_cast<char>(data[at + 2]);
  }
  vu::detail::seal(block);
  std::string hosts(data + std::min(at, size), data + size);
  hosts += "\na.b.co.uk\nq.Ltd.co.uk\na.b.ck\nwww.ck\nz.x.y.deep.uk";

  vu_cctld table(nullptr);
  const bool opened = vu::test::messageOf([&] { table.openBytes(block, "forged"); }).empty();
  if (block == good || at == 0) check(opened, "the table as it was made is opened");
  std::istringstream lines(hosts);
  for (std::string host; std::getline(lines, host);) {
    const vu::test::ExactCopy copy(host);
    for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
      const std::string found =
          vu::test::described(table.classify(copy.view(), match), copy.view());
      check(found.find("outside") == std::string::npos, "views lie in the URL");
      const vu_reason reason = table.explain(copy.view(), match);
      const std::string again = vu::test::described(reason.domain, copy.view());
      check(again.find("outside") == std::string::npos, "so do those of the reason");
      if (at == 0) check(found == again, "the reason is for the answer");
      check(reason.text().size() <= block.size() + 2, "a rule's name lies in the block");
    }
  }
  check(table.facts().version.size() < block.size(), "what is told lies in the block");
  return 0;
}
