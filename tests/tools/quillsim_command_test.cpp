// What the simulated routing daemon takes as a command of a station, and what it calls a mistake.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "base/text.h"
#include "tools/quillsim/command.h"
#include "tools/quillsim/mixer.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

using testing::HasSubstr;

// The command of type T that the line holds; a failure when it holds none.
template <typename T>
T parsed(std::string_view line) {
  const ParsedLine result = parse_command(line);
  EXPECT_TRUE(result.command) << line << result.error;
  if (!result.command) return {};
  const T* command = std::get_if<T>(&*result.command);
  EXPECT_NE(command, nullptr) << line;
  return command != nullptr ? *command : T{};
}

TEST(Command, EveryFormIsTaken) {
  parsed<GetSupvState>("get supv state\r\n");
  parsed<Shut>("SHUT\n");
  EXPECT_EQ(parsed<CreateMixer>("create vmix2 app_id=\"orfe:app:hark#1@00A0B1C2D3EF\"\r\n").app_id,
            "orfe:app:hark#1@00A0B1C2D3EF");
  EXPECT_EQ(parsed<CreateMixer>("create vmix2 app_id=\"orfe:app:hark#1@unknown\"\r\n").app_id,
            "orfe:app:hark#1@unknown");

  const auto source = parsed<SetSource>("SRC 2 RTPA:\"239.192.0.2\" RTPT:\"a \\\"b\\\"\"\r\n");
  EXPECT_EQ(source.source, 2);
  EXPECT_EQ(source.rtpa, "239.192.0.2");
  EXPECT_EQ(source.rtpt, "a \"b\"");
}

TEST(Command, InputsCarryTheirFields) {
  const auto both = parsed<SetInput>("set hark#1.sub#1.in#3 src_id=\"239.192.4.210\", gain=-240\r\n");
  EXPECT_EQ(both.input, 3);
  EXPECT_EQ(both.src_id, "239.192.4.210");
  EXPECT_EQ(both.gain, -240);

  const auto with_port = parsed<SetInput>("set hark#1.sub#1.in#40 src_id=\"239.192.4.210:5004\", gain=0\r\n");
  EXPECT_EQ(with_port.input, 40);
  EXPECT_EQ(with_port.src_id, "239.192.4.210:5004");

  const auto none = parsed<SetInput>("set hark#1.sub#1.in#1 src_id=\"\", gain=-1000\r\n");
  EXPECT_EQ(none.src_id, "");
  EXPECT_EQ(none.gain, kGainSilence);

  const auto gain_only = parsed<SetInput>("set hark#1.sub#1.in#9999 gain=-1240\r\n");
  EXPECT_EQ(gain_only.input, kMaxInput);
  EXPECT_FALSE(gain_only.src_id);
}

TEST(Command, SubsCarryTheirFields) {
  const auto gain = parsed<SetSubGain>("set hark#1.sub#2 gain=-100\r\n");
  EXPECT_EQ(gain.sub, kSubMicrophone);
  EXPECT_EQ(gain.gain, -100);
  EXPECT_EQ(parsed<SetSubGain>("set hark#1.sub#1 gain=OFF\r\n").gain, std::nullopt);

  const auto source = parsed<SetSubOutSource>("set hark#1.sub#2.sub_out src_id=\"239.192.1.7:5004\"\r\n");
  EXPECT_EQ(source.sub, kSubMicrophone);
  EXPECT_EQ(source.src_id, "239.192.1.7:5004");
  EXPECT_EQ(parsed<SetSubOutSource>("set hark#1.sub#1.sub_out src_id=\"\"\r\n").src_id, "");

  EXPECT_EQ(parsed<SetSubOutName>("set hark#1.sub#2.sub_out src_name=\"Desk, 1\"\r\n").src_name, "Desk, 1");
  EXPECT_EQ(parsed<SetSubOutName>("set hark#1.sub#2.sub_out src_name=\"\"\r\n").src_name, "");
  EXPECT_EQ(parsed<SetSubOutName>(
                "set hark#1.sub#2.sub_out src_name=\"\\\\\\\"\\\\\\\"\\\\\\\"\\\\\\\"\\\\\\\"\"\r\n")
                .src_name,
            "\\\"\\\"\\\"\\\"\\\"");
}

struct BadRow {
  const char* line;    // the line end is added
  const char* reason;  // a part of it
};
constexpr BadRow kBadRows[] = {
    {"", "no such command"},
    {"GET supv state", "no such command"},
    {" get supv state", "no such command"},
    {"get supv", "expected"},
    {"get supv state ", "follows"},
    {"get  supv state", "expected"},
    {"create vmix app_id=\"orfe:app:hark#1@unknown\"", "expected"},
    {"create vmix2 app_id=orfe:app:hark#1@unknown", "quoted"},
    {"create vmix2 app_id=\"orfe:app:hark#1@unknown", "quoted"},
    {"create vmix2 app_id=\"orfe:app:hark#1@unknown\" x", "follows"},
    {"create vmix2 app_id=\"orfe:app:hark#2@unknown\"", "hardware address"},
    {"create vmix2 app_id=\"orfe:app:hark#1@00a0b1c2d3ef\"", "hardware address"},
    {"create vmix2 app_id=\"orfe:app:hark#1@00A0B1C2D3\"", "hardware address"},
    {"create vmix2 app_id=\"\"", "hardware address"},
    {"set .sub#1 gain=0", "hark#1"},
    {"set hark#2.sub#1 gain=0", "hark#1"},
    {"set hark#1.sub#0 gain=0", "sub is not in 1 to 2"},
    {"set hark#1.sub#3 gain=0", "sub is not in 1 to 2"},
    {"set hark#1.sub# gain=0", "sub is no number"},
    {"set hark#1.sub#1", "expected"},
    {"set hark#1.sub#1  gain=0", "gain="},
    {"set hark#1.sub#1 GAIN=0", "gain="},
    {"set hark#1.sub#1 gain=", "no number"},
    {"set hark#1.sub#1 gain=off", "no number"},
    {"set hark#1.sub#1 gain=OFF ", "follows"},
    {"set hark#1.sub#1 gain=+1", "no number"},
    {"set hark#1.sub#1 gain=-0", "no number"},
    {"set hark#1.sub#1 gain=01", "no number"},
    {"set hark#1.sub#1 gain=1.5", "follows"},
    {"set hark#1.sub#1 gain=201", "gain is not in"},
    {"set hark#1.sub#1 gain=-2001", "gain is not in"},
    {"set hark#1.sub#1 gain=99999999999", "no number"},
    {"set hark#1.sub#2.in#1 gain=0", "only sub#1"},
    {"set hark#1.sub#1.in#0 gain=0", "input is not in"},
    {"set hark#1.sub#1.in#-1 gain=0", "input is not in"},
    {"set hark#1.sub#1.in#10000 gain=0", "input is not in"},
    {"set hark#1.sub#1.in#1", "blank"},
    {"set hark#1.sub#1.in#1 ", "gain="},
    {"set hark#1.sub#1.in#1 gain=0, src_id=\"\"", "follows"},
    {"set hark#1.sub#1.in#1 src_id=\"\"", "gain="},
    {"set hark#1.sub#1.in#1 src_id=\"\" gain=0", "gain="},
    {"set hark#1.sub#1.in#1 src_id=\"\",gain=0", "gain="},
    {"set hark#1.sub#1.in#1 src_id=239.192.0.1, gain=0", "quoted"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.256\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.1.2\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.01\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.1:0\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.1:65536\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"239.192.0.1:\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\" 239.192.0.1\", gain=0", "src_id is not"},
    {"set hark#1.sub#1.in#1 src_id=\"sip:a@b\", gain=0", "src_id is not"},
    {"set hark#1.sub#2.sub_out src_id=\"239.192.1.7\"", "src_id is not"},
    {"set hark#1.sub#2.sub_out src_id=239.192.1.7:5004", "quoted"},
    {"set hark#1.sub#2.sub_out src_id=\"239.192.1.7:5004\", gain=0", "follows"},
    {"set hark#1.sub#2.sub_out", "expected"},
    {"set hark#1.sub#2.sub_out gain=0", "src_id= or src_name="},
    {"set hark#1.sub#2.sub_out src_name=Desk", "quoted"},
    {"set hark#1.sub#2.sub_out src_name=\"12345678901\"", "longer than 10"},
    {"set hark#1.sub#2.sub_out src_name=\"a\"b\"", "follows"},
    {"set hark#1.sub#2.sub_out src_name=\"a\\n\"", "quoted"},
    {"set hark#1.sub#2.sub_out src_name=\"a\\", "quoted"},
    {"SRC 0 RTPA:\"\" RTPT:\"\"", "source is not in"},
    {"SRC x RTPA:\"\" RTPT:\"\"", "source is no number"},
    {"SRC 1 RTPA:\"\"", "RTPT"},
    {"SRC 1 RTPT:\"\" RTPA:\"\"", "RTPA"},
    {"SRC 1 RTPA:\"x\" RTPT:\"\"", "RTPA is not"},
    {"SRC 1 RTPA:\"\" RTPT:x", "RTPT is not"},
    {"SHUT", "LF alone"},
    {"get supv state\rget supv state", "inside the line"},
};

TEST(Command, BadLinesAreNamedByTheirFault) {
  for (const BadRow& row : kBadRows) {
    const ParsedLine result = parse_command(std::string(row.line) + "\r\n");
    EXPECT_FALSE(result.command) << row.line;
    EXPECT_THAT(result.error, HasSubstr(row.reason)) << row.line;
  }
}

TEST(Command, LineEndsAreFixed) {
  EXPECT_THAT(parse_command("get supv state").error, HasSubstr("without its end"));
  EXPECT_THAT(parse_command("get supv state\r").error, HasSubstr("without its end"));
  EXPECT_THAT(parse_command("get supv state\n").error, HasSubstr("LF without CR"));
  EXPECT_THAT(parse_command("get supv state\r\r\n").error, HasSubstr("inside"));
  EXPECT_THAT(parse_command("").error, HasSubstr("without its end"));
  EXPECT_THAT(parse_command(std::string_view("get supv\0state\r\n", 16)).error, HasSubstr("NUL"));
}

TEST(Command, LinesOf2000BytesAreTheLimit) {
  const std::string head = "SRC 1 RTPA:\"\" RTPT:\"";
  const std::string tail = "\"\r\n";
  const std::string fill(hark::kMaxLine - head.size() - tail.size(), 'x');
  EXPECT_EQ(parse_command(head + fill + tail).error, "");
  EXPECT_THAT(parse_command(head + fill + "x" + tail).error, HasSubstr("2000"));
}

// No prefix of a good line is good, and no changed byte crashes the reader.
TEST(Command, CutAndChangedLinesAreSafe) {
  const std::string good = "set hark#1.sub#1.in#3 src_id=\"239.192.4.210:5004\", gain=-240\r\n";
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_FALSE(parse_command(good.substr(0, length)).command) << length;
    for (const char c : {'\0', '"', '\\', '9', '\xff', '\n'}) {
      std::string changed = good;
      changed[length] = c;
      const ParsedLine result = parse_command(changed);
      EXPECT_NE(result.command.has_value(), !result.error.empty()) << changed;
    }
  }
}

TEST(Scanner, QuoteAndQuotedAreEachOthersReverse) {
  for (const std::string& text :
       {std::string(), std::string("a b"), std::string("\"\\\""), std::string("\\")}) {
    const std::string wire = quote(text);
    Scanner in(wire);
    EXPECT_EQ(in.quoted(), text);
    EXPECT_TRUE(in.at_end()) << wire;
  }
}

TEST(Scanner, PrintableTextHasNoControlsAndALimit) {
  EXPECT_EQ(printable(std::string_view("a\r\n\0\x7f", 5)), "a\\x0D\\x0A\\x00\\x7F");
  EXPECT_EQ(printable("abcdef", 3), "abc...");
  EXPECT_EQ(printable("abc", 3), "abc");
}

TEST(Mixer, ChangesAreToldOnce) {
  Mixer mixer;
  EXPECT_FALSE(mixer.created());
  EXPECT_EQ(mixer.apply(CreateMixer{"orfe:app:hark#1@unknown"}),
            "hark#1 created, app_id=\"orfe:app:hark#1@unknown\"");
  EXPECT_TRUE(mixer.created());

  const SetInput input{3, "239.192.4.210", -240};
  EXPECT_EQ(mixer.apply(input),
            "hark#1.sub#1.in#3 src_id=\"239.192.4.210\", gain=-240"
            "  (speaker input 3 hears 239.192.4.210 at -24.0 dB)");
  EXPECT_EQ(mixer.apply(input), "");
  EXPECT_EQ(mixer.apply(SetInput{3, std::nullopt, -1000}),
            "hark#1.sub#1.in#3 src_id=\"239.192.4.210\", gain=-1000"
            "  (speaker input 3 hears 239.192.4.210 silent)");
  EXPECT_EQ(mixer.apply(SetInput{3, "", -1000}),
            "hark#1.sub#1.in#3 src_id=\"\", gain=-1000  (speaker input 3 hears nothing)");
  EXPECT_EQ(mixer.apply(SetInput{4, std::nullopt, 0}),
            "hark#1.sub#1.in#4 src_id=\"\", gain=0  (speaker input 4 hears nothing)");

  EXPECT_EQ(mixer.apply(SetSubGain{2, -100}), "hark#1.sub#2 gain=-100  (microphone at -10.0 dB)");
  EXPECT_EQ(mixer.apply(SetSubGain{2, -100}), "");
  EXPECT_EQ(mixer.apply(SetSubGain{2, std::nullopt}), "hark#1.sub#2 gain=OFF  (microphone off)");
  EXPECT_EQ(mixer.apply(SetSubGain{1, 0}), "") << "0 is where it starts";

  EXPECT_EQ(mixer.apply(SetSubOutSource{2, ""}), "");
  EXPECT_EQ(mixer.apply(SetSubOutSource{2, "239.192.1.7:5004"}),
            "hark#1.sub#2.sub_out src_id=\"239.192.1.7:5004\"  (microphone mix goes to 239.192.1.7:5004)");
  EXPECT_EQ(mixer.apply(SetSubOutSource{2, ""}),
            "hark#1.sub#2.sub_out src_id=\"\"  (microphone mix goes nowhere)");
  EXPECT_EQ(mixer.apply(SetSubOutName{2, "A\"B"}),
            "hark#1.sub#2.sub_out src_name=\"A\\\"B\"  (microphone mix is named so)");
}

TEST(Mixer, DescribesAllThatIsSet) {
  Mixer mixer;
  EXPECT_THAT(mixer.describe(), testing::ElementsAre("hark#1 not created"));
  mixer.apply(CreateMixer{"orfe:app:hark#1@unknown"});
  mixer.apply(SetInput{8, "239.192.0.8", 0});
  mixer.apply(SetInput{2, "239.192.0.2", -240});
  mixer.apply(SetSubOutName{2, "Desk"});
  EXPECT_THAT(mixer.describe(),
              testing::ElementsAre("hark#1 app_id=\"orfe:app:hark#1@unknown\"", HasSubstr("sub#1 gain=0"),
                                   HasSubstr("sub#1.sub_out src_id=\"\""), HasSubstr("in#2 "),
                                   HasSubstr("in#8 "), HasSubstr("sub#2 gain=0"),
                                   HasSubstr("sub#2.sub_out src_id=\"\""), HasSubstr("src_name=\"Desk\"")));
  ASSERT_NE(mixer.input(2), nullptr);
  EXPECT_EQ(mixer.input(2)->gain, -240);
  EXPECT_EQ(mixer.input(3), nullptr);
  mixer.remove();
  EXPECT_EQ(mixer.input(2), nullptr);
}

}  // namespace
}  // namespace quillsim
