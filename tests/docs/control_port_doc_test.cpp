// The reference of the control port leaves nothing out: each command, each error and each object of the
// sources stands in it, with an example.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "docs/document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

constexpr std::string_view kReference = "docs/control-port.md";

// The sources of the product, one after the other.
std::string product_text() {
  std::string text;
  for (const char* folder : {"daemon", "routing", "callctl", "panel"}) {
    const auto root = std::filesystem::path(HARK_SOURCE_DIR) / folder;
    const auto files = std::filesystem::recursive_directory_iterator(
        root, std::filesystem::directory_options::follow_directory_symlink);
    for (const auto& entry : files) {
      if (entry.path().extension() == ".cpp") text += read_source(entry.path().string());
    }
  }
  return text;
}

class ControlPortReference : public testing::Test {
 protected:
  // Whether a line of a client or a console in any example begins with `text`, without regard to case.
  [[nodiscard]] bool HasExample(Action action, std::string_view text) const {
    for (const Example& example : document_.examples) {
      for (const Step& step : example.steps) {
        const bool of_client =
            step.peer == Peer::kClient || (step.peer == Peer::kConsole && action == step.action);
        if (of_client && step.action == action && starts_with_nocase(step.text.c_str(), text)) return true;
      }
    }
    return false;
  }
  // The text of a command's row in the program: it is told of, and an example sends it.
  void ExpectCommand(const std::string& command) const {
    EXPECT_TRUE(Says("`" + command)) << command;
    EXPECT_TRUE(HasExample(Action::kSend, command)) << command;
  }
  [[nodiscard]] bool Says(const std::string& text) const {
    return document_.text.find(text) != std::string::npos;
  }

  const Document document_ = read_document(kReference);
};

TEST_F(ControlPortReference, HasEveryCommandWithAnExample) {
  const std::string table = table_text(read_source("daemon/server_cmd.cpp"), "kCommands");
  const std::vector<std::string> commands = all_between(table, "{\"", "\"");
  EXPECT_THAT(commands, testing::IsSupersetOf({"VER", "CALL", "end"}));
  for (const std::string& command : commands)
    ExpectCommand(command);
}

TEST_F(ControlPortReference, HasEverySettingAndContactCommandWithAnExample) {
  const std::string settings = table_text(read_source("daemon/settings.cpp"), "kSettings");
  const std::string contacts = table_text(read_source("routing/qnr_gpio.cpp"), "kKeywords");
  const std::vector<std::string> commands = all_between(settings + contacts, "{\"", "\"");
  EXPECT_THAT(commands, testing::IsSupersetOf({"HARK ", "SRC 1 ", "CFG GPO", "GPI"}));
  for (const std::string& command : commands)
    ExpectCommand(command);
}

TEST_F(ControlPortReference, HasEveryReadingCommandWithAnExample) {
  const std::string table = table_text(read_source("daemon/qnrlib/qnrdb.cpp"), "kVerbs");
  const std::vector<std::string> commands = all_between(table, "{\"", "\"");
  EXPECT_THAT(commands, testing::IsSupersetOf({"SUB ", "DEL "}));
  for (const std::string& command : commands)
    ExpectCommand(command);
}

TEST_F(ControlPortReference, HasEveryObjectWithAnExample) {
  const std::string table = table_text(read_source("daemon/settings.cpp"), "qnrdb_obj_desc");
  const std::vector<std::string> objects = all_between(table, "{\"", "\"");
  EXPECT_THAT(objects, testing::IsSupersetOf({"SET", "IP", "HARKUI"}));
  for (const std::string& object : objects) {
    EXPECT_TRUE(Says("| `" + object + "` |")) << object;
    EXPECT_TRUE(HasExample(Action::kSend, object)) << object;
  }
}

TEST_F(ControlPortReference, HasEveryHarkTag) {
  const std::string source = read_source("routing/harkqnr_cmd.cpp");
  const std::size_t begin = source.find("void take_hark(");
  ASSERT_NE(begin, std::string::npos);
  const std::string body = source.substr(begin, source.find("\n}", begin) - begin);
  const std::vector<std::string> tags = all_between(body, "(rest, \"", "\"");
  EXPECT_THAT(tags, testing::IsSupersetOf({"DROPFLASH", "TRGL", "LABL"}));
  for (const std::string& tag : tags)
    EXPECT_TRUE(Says("| `" + tag + "` |")) << tag;
}

TEST_F(ControlPortReference, HasEveryErrorAndAnExampleOfEachThatIsSent) {
  const std::string product = product_text();
  const std::string header = read_source("daemon/qnrlib/tagtext.h");
  const std::vector<std::string> names = all_between(header, "char QNR_ERROR_", "[]");
  EXPECT_THAT(names, testing::Contains("BADCOMMAND"));
  for (const std::string& name : names) {
    const std::vector<std::string> text = all_between(header, "QNR_ERROR_" + name + "[] = \"", "\\r\\n\"");
    ASSERT_EQ(text.size(), 1U) << name;
    EXPECT_TRUE(Says("| `" + text[0] + "` |")) << text[0];
    const bool sent = product.find("QNR_ERROR_" + name) != std::string::npos;
    EXPECT_EQ(HasExample(Action::kExpect, text[0]), sent) << text[0];
  }
  const std::vector<std::string> others = all_between(product, "\"ERROR ", "\\n\"");
  EXPECT_THAT(others, testing::Contains("3001 call failed"));
  for (const std::string& text : others) {
    EXPECT_TRUE(Says("| `ERROR " + text + "` |")) << text;
    EXPECT_TRUE(HasExample(Action::kExpect, "ERROR " + text + "\\n")) << text;
  }
}

}  // namespace
}  // namespace hark::test
