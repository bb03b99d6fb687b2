// The values that the files have, and whether a library reads and writes just them.
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "readers.h"

namespace hark::bench {
namespace {

using Lines = std::vector<std::string>;

const Lines kOfferLines{"port 16404",    "format 96 L24", "format 9 G722",
                        "format 8 PCMA", "format 0 PCMU", "format 101 telephone-event"};

/// Of each row; those of a row that writes are of what it has written.
const std::array<Lines, kRows> kExpected{{
    {"branch z9hG4bKPj7c1e4f0293d5", "from-tag a6f1c8d04e", "to-tag none",
     "call-id 5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12", "cseq 20871 INVITE", "port 16404", "format 96 L24",
     "format 9 G722", "format 8 PCMA", "format 0 PCMU", "format 101 telephone-event"},
    {"branch z9hG4bKPj7c1e4f0293d5", "from-tag a6f1c8d04e", "to-tag 1c86d2f7",
     "call-id 5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12", "cseq 20871 INVITE", "port 5004", "format 96 L24",
     "format 101 telephone-event"},
    {"branch z9hG4bKPj81b06e33ac4f", "from-tag a6f1c8d04e", "to-tag 1c86d2f7",
     "call-id 5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12", "cseq 20872 BYE"},
    {"branch z9hG4bK9f31.c0d2e7a1.0", "from-tag 9c20e5d7", "to-tag none",
     "call-id 1f6b77aa0c4e@192.168.30.44", "cseq 102 INVITE", "port 40012", "format 9 G722", "format 0 PCMU"},
    {"branch z9hG4bKPj7c1e4f0293d5", "from-tag a6f1c8d04e", "to-tag none",
     "call-id 5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12", "cseq 20871 INVITE", "port 16404", "format 96 L24",
     "format 9 G722", "format 8 PCMA", "format 0 PCMU", "format 101 telephone-event"},
    kOfferLines,
    kOfferLines,
    {"user alice", "host 10.0.0.1", "port 5062", "transport udp"},
}};

bool differs(const char* name, const Row& row, const Lines& expected, const Lines& lines) {
  if (lines == expected) return false;
  (void)std::fprintf(stderr, "%s, %s: read\n", name, row.title);
  for (const std::string& line : lines)
    (void)std::fprintf(stderr, "  %s\n", line.c_str());
  (void)std::fprintf(stderr, "where the file has\n");
  for (const std::string& line : expected)
    (void)std::fprintf(stderr, "  %s\n", line.c_str());
  return true;
}

/// What stands before the colon of each header line of a message, or the letter of each line of a
/// description.
std::vector<std::string> names_of(std::string_view bytes, char separator) {
  std::vector<std::string> names;
  bool first = separator == ':';
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1);
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    if (separator == ':' && line.size() <= 1) break;
    if (!first) names.emplace_back(line.substr(0, line.find(separator)));
    first = false;
  }
  return names;
}

bool has_names(std::string_view wire, std::string_view file, char separator) {
  const std::vector<std::string> written = names_of(wire, separator);
  for (const std::string& name : names_of(file, separator)) {
    std::size_t at = 0;
    while (at < written.size() && ::strcasecmp(written[at].c_str(), name.c_str()) != 0)
      ++at;
    if (at == written.size()) {
      (void)std::fprintf(stderr, "no line %s was written\n", name.c_str());
      return false;
    }
  }
  return true;
}

/// What was written has everything that the file has, a tenth shorter or longer for other ways to write the
/// same.
bool is_like(std::string_view wire, std::string_view file, char separator) {
  if (wire.size() * 10 < file.size() * 9 || wire.size() * 10 > file.size() * 11) {
    (void)std::fprintf(stderr, "%zu bytes were written, the file has %zu\n", wire.size(), file.size());
    return false;
  }
  return has_names(wire, file, separator);
}

bool check_row(Subject& subject, const Inputs& inputs, const Row& row, const Lines& expected) {
  LineReader reader;
  if (!row.run(subject, input_of(row, inputs), reader)) return false;
  if (row.input == nullptr) {
    const std::string wire = reader.written();
    const bool is_message = wire.compare(0, 6, "INVITE") == 0;
    const bool read = is_message ? subject.parse_message(wire, reader) : subject.parse_sdp(wire, reader);
    if (!read || !is_like(wire, is_message ? inputs.invite : inputs.offer, is_message ? ':' : '=')) {
      (void)std::fprintf(stderr, "%s wrote\n%s\n", subject.name(), wire.c_str());
      return false;
    }
  }
  return !differs(subject.name(), row, expected, reader.lines());
}

}  // namespace

bool check(Subject& subject, const Inputs& inputs) {
  for (std::size_t i = 0; i < kRows; ++i) {
    if (check_row(subject, inputs, kRowTable[i], kExpected[i])) continue;
    (void)std::fprintf(stderr, "%s: not right: %s\n", subject.name(), kRowTable[i].title);
    return false;
  }
  return true;
}

}  // namespace hark::bench
