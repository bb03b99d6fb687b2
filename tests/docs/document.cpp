#include "docs/document.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace hark::test {
namespace {

constexpr std::string_view kFence = "```";
constexpr std::string_view kFileFence = "file ";
constexpr std::string_view kSavedFence = "saved ";

struct PeerName {
  std::string_view name;
  Peer peer;
};

constexpr std::array<PeerName, 7> kPeers{{{"routing", Peer::kRouting},
                                          {"console", Peer::kConsole},
                                          {"far", Peer::kFar},
                                          {"group", Peer::kGroup},
                                          {"station", Peer::kStation},
                                          {"log", Peer::kLog},
                                          {"B", Peer::kFarStation}}};
constexpr std::string_view kEnds = "SIGTERM";

// A number at the start of `text`, which is cut off.
std::optional<int> take_number(std::string_view& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// Who a line is about; cut off `text`. False for connections that there cannot be.
bool take_peer(std::string_view& text, Step& step) {
  for (const PeerName& peer : kPeers) {
    if (!text.starts_with(peer.name)) continue;
    text.remove_prefix(peer.name.size());
    step.peer = peer.peer;
    return true;
  }
  step.first = take_number(text).value_or(1);
  step.last = step.first;
  if (text.starts_with('-')) {
    text.remove_prefix(1);
    step.last = take_number(text).value_or(0);
  }
  return step.first >= 1 && step.first <= step.last && step.last <= kMaxExampleConnections;
}

std::optional<Action> action_of(char mark) {
  switch (mark) {
    case '>':
      return Action::kSend;
    case '<':
    case '~':
      return Action::kExpect;
    case '*':
      return Action::kExpectRepeated;
    case '+':
      return Action::kConnect;
    default:
      return std::nullopt;
  }
}

bool fits_peer(const Step& step) {
  if (step.peer == Peer::kClient) return step.first == step.last || step.action == Action::kConnect;
  // A station is only ended here, and a log is only read.
  if (step.peer == Peer::kStation) return step.action == Action::kSend && step.text == kEnds;
  if (step.peer == Peer::kLog) return step.action == Action::kExpect;
  return step.action == Action::kSend || step.action == Action::kExpect;
}

std::optional<Step> parse_step(std::string_view text, int line) {
  Step step;
  step.line = line;
  if (!take_peer(text, step) || text.empty()) return std::nullopt;
  const std::optional<Action> action = action_of(text.front());
  if (!action) return std::nullopt;
  step.action = *action;
  text.remove_prefix(1);
  if (!text.empty() && text.front() != ' ') return std::nullopt;
  if (!text.empty()) text.remove_prefix(1);
  step.text = text;
  if (!fits_peer(step) || (step.text.empty() && step.action != Action::kConnect)) return std::nullopt;
  return step;
}

std::optional<Language> language_of(std::string_view name) {
  if (name == "harkd") return Language::kHarkd;
  if (name == "panel") return Language::kPanel;
  return std::nullopt;
}

// Reads a document line by line, and knows in what kind of block it is.
class Reader {
 public:
  explicit Reader(Document& document) : document_(document) {}

  void read(const std::string& line) {
    ++number_;
    if (line.starts_with(kFence)) {
      fence(std::string_view(line).substr(kFence.size()));
    } else if (block_ == Block::kTalk) {
      read_step(line);
    } else if (block_ == Block::kFile) {
      file_.text += line + "\n";
    }
  }
  void finish() {
    if (block_ != Block::kNone) fault(number_, "a block has no end");
    for (const Example& example : document_.examples) {
      if (example.steps.empty()) fault(example.line, "an empty example");
    }
  }

 private:
  enum class Block { kNone, kTalk, kFile, kOther };

  void fence(std::string_view name) {
    if (block_ != Block::kNone) {
      if (block_ == Block::kFile) keep_file();
      block_ = Block::kNone;
    } else if (const std::optional<Language> language = language_of(name)) {
      block_ = Block::kTalk;
      document_.examples.push_back({number_, *language, files_, {}, {}});
    } else if (name.starts_with(kFileFence) || name.starts_with(kSavedFence)) {
      block_ = Block::kFile;
      file_is_result_ = name.starts_with(kSavedFence);
      file_ = {number_, std::string(name.substr(name.find(' ') + 1)), {}};
    } else {
      block_ = Block::kOther;
    }
  }
  void keep_file() {
    if (file_.path.empty()) return fault(file_.line, "a file without a name");
    if (file_is_result_) {
      if (document_.examples.empty()) return fault(file_.line, "no example in front of it");
      document_.examples.back().saved.push_back(file_);
      return;
    }
    std::erase_if(files_, [this](const File& file) { return file.path == file_.path; });
    files_.push_back(file_);
  }
  void read_step(const std::string& line) {
    if (line.empty() || line.front() == '#') return;
    if (std::optional<Step> step = parse_step(line, number_)) {
      document_.examples.back().steps.push_back(std::move(*step));
    } else {
      fault(number_, "no step: " + line);
    }
  }
  void fault(int line, std::string reason) { document_.faults.push_back({line, std::move(reason)}); }

  Document& document_;
  int number_ = 0;
  Block block_ = Block::kNone;
  std::vector<File> files_;
  File file_;
  bool file_is_result_ = false;
};

std::string cell_text(std::string cell) {
  cell.erase(0, cell.find_first_not_of(' '));
  cell.erase(cell.find_last_not_of(' ') + 1);
  const bool quoted = cell.size() > 2 && cell.front() == '`' && cell.find('`', 1) == cell.size() - 1;
  return quoted ? cell.substr(1, cell.size() - 2) : cell;
}

Row cells_of(const std::string& line) {
  Row cells;
  std::istringstream rest(line.substr(1));
  for (std::string cell; std::getline(rest, cell, '|');)
    cells.push_back(cell_text(cell));
  return cells;
}

}  // namespace

Document parse_document(std::string path, std::string text) {
  Document document{std::move(path), std::move(text), {}, {}};
  Reader reader(document);
  std::istringstream lines(document.text);
  for (std::string line; std::getline(lines, line);)
    reader.read(line);
  reader.finish();
  return document;
}

std::vector<Row> table_rows(const std::string& text, std::string_view titles) {
  std::vector<Row> rows;
  const std::size_t begin = text.find("\n" + std::string(titles));
  if (begin == std::string::npos) return rows;
  std::istringstream lines(text.substr(begin + 1));
  std::string line;
  // The titles, and the line below them.
  (void)std::getline(lines, line);
  (void)std::getline(lines, line);
  while (std::getline(lines, line) && line.starts_with('|'))
    rows.push_back(cells_of(line));
  return rows;
}

std::string block_text(const std::string& text, std::string_view name) {
  const std::string fence = "\n" + std::string(kFence) + std::string(name) + "\n";
  const std::size_t begin = text.find(fence);
  if (begin == std::string::npos) return {};
  const std::size_t first = begin + fence.size();
  return text.substr(first, text.find(kFence, first) - first);
}

std::string read_source(std::string_view name) {
  std::ifstream file(std::filesystem::path(HARK_SOURCE_DIR) / name);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

Document read_document(std::string_view name) {
  const std::string path = (std::filesystem::path(HARK_SOURCE_DIR) / name).string();
  Document document = parse_document(path, read_source(name));
  if (document.text.empty()) document.faults.push_back({1, "cannot be read"});
  return document;
}

}  // namespace hark::test
