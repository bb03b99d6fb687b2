// What the files of a station say, as the property tests hold it: the operator's sources with what calls have
// taught, and the shifts of the channel file. Each can be written out as the file that the daemon reads, and
// answers what the daemon should find in it.
#pragma once

#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace hark::reference {

// One line of the source file.
struct Source {
  std::string name;
  std::string address;  // with its scheme
  std::string tags;     // without the first ";"
  std::string alt;
  bool operator==(const Source&) const = default;
  [[nodiscard]] std::string url() const;
};

// The parts of `Name <address>;tags`.
[[nodiscard]] std::string address_of(const std::string& url);
[[nodiscard]] std::string tag_of(const std::string& url, const std::string& tag);
[[nodiscard]] long number_of(const std::string& url, const std::string& tag);
[[nodiscard]] bool is_routed(const std::string& url);  // a source of the routing network

struct Sources {
  std::vector<Source> file;
  std::vector<Source> learned;  // newest first; goes before the file

  [[nodiscard]] std::string text() const;
  // Empty when nobody has the label, or the address.
  [[nodiscard]] std::string url_of(const std::string& label) const;
  [[nodiscard]] std::string label_of(const std::string& url) const;
  // A report of a station's call teaches its address and level. The sources of this test have no label of
  // their own, so that nothing is learned of the routing network.
  void learn(const std::string& url);
};

struct Assignment {
  std::optional<std::string> label;
  std::optional<std::string> url;
  unsigned flags = 0;
};

struct Table {
  std::vector<Assignment> entries;
  std::list<std::string> group;

  [[nodiscard]] std::string label(int i) const;
  [[nodiscard]] bool has_label(const std::string& label) const;
};

// One section of the channel file.
struct Section {
  std::string shift;
  std::map<int, Assignment> keys;  // by number, from 1
  std::vector<std::string> group;  // in the order of the file
};

struct ChannelFile {
  bool exists = true;
  std::vector<Section> sections;

  [[nodiscard]] std::string text() const;
  [[nodiscard]] Table load(const std::string& shift, int nkeys) const;
  void save(const std::string& shift, const Table& table);
  [[nodiscard]] std::string default_shift() const;
};

// Modification time in nanoseconds; 0 when there is no such file.
[[nodiscard]] long long file_time(const std::string& path);

}  // namespace hark::reference
