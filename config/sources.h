// Where the values of a parser's records come from.

#ifndef VU_CONFIG_SOURCES_H_
#define VU_CONFIG_SOURCES_H_

#include <cstddef>
#include <string>
#include <vector>

#include "vu/foundation.h"

namespace vu::detail {

class Sources {
 public:
  enum Kind : char { byDefault, commandLine, file, program };
  struct Source {
    Kind kind;
    std::size_t path;  ///< In the list of files, for a value of a file.
    long long line;
  };

  explicit Sources(std::size_t rows) : ofRows_(rows, {byDefault, 0, 0}) {}

  void set(int row, const Source& source) { ofRows_[static_cast<std::size_t>(row)] = source; }

  /// The source of the line that is being applied.
  const Source& line() const { return line_; }

  std::string textOf(int row) const {
    const Source& source = ofRows_[static_cast<std::size_t>(row)];
    switch (source.kind) {
      case byDefault:
        return "default";
      case commandLine:
        return "command line";
      case file:
        return paths_[source.path] + ":" + val2str(source.line);
      default:
        return "set by program";
    }
  }

  /// Lines come from a file as long as this lives, and from the program afterwards.
  class LinesOf {
   public:
    LinesOf(Sources& sources, const char* path) : sources_(sources), before_(sources.line_) {
      sources.paths_.emplace_back(path);
      sources.line_ = {file, sources.paths_.size() - 1, 0};
    }
    LinesOf(const LinesOf&) = delete;
    LinesOf& operator=(const LinesOf&) = delete;
    ~LinesOf() { sources_.line_ = before_; }

    void next() { ++sources_.line_.line; }

   private:
    Sources& sources_;
    Source before_;
  };

 private:
  std::vector<Source> ofRows_;
  std::vector<std::string> paths_;  // of the files read
  Source line_ = {program, 0, 0};
};

}  // namespace vu::detail

#endif  // VU_CONFIG_SOURCES_H_
