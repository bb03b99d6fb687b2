// The corpus of session descriptions through the parser, and what is parsed or built through the encoder and
// the parser again: the same session, text by text.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cpsdp/corpus_rows.h"
#include "cpsdp/session_lines.h"

namespace hark::test {
namespace {

std::string body(const std::string& name) { return corpus_file("bodies/" + name + ".sdp"); }

std::string encode(const Parsed& parsed, int expected) {
  std::vector<char> out(0xFFFF);
  std::uint32_t length = 0;
  EXPECT_EQ(CPSDP_EncodeSession(&parsed.parms, parsed.pool, out, length), expected);
  return {out.data(), length};
}

// How a format comes back: one without a name has that of the table of static ones, and a name without a rate
// is one character shorter each time it is parsed.
std::string format_again(const cpsdp_media& media, std::size_t at, std::string_view pool) {
  std::string text = std::to_string(media.fmt[at]);
  if (media.rtp_name[at].empty()) {
    text += cpsdp_static_payload(media.fmt[at]);
  } else if (media.rtp_rate[at] == 0) {
    text += " " + std::string(media.rtp_name[at].in(pool));
    text.pop_back();
  }
  return text;
}

bool is_told_anew(const cpsdp_media& media, std::size_t at) {
  return media.rtp_name[at].empty() || media.rtp_rate[at] == 0;
}

// The lines of the session as they are expected after it was encoded.
Lines lines_again(const Parsed& parsed) {
  Lines lines = session_lines(parsed.parms, parsed.pool);
  for (std::size_t at = 0; at < parsed.parms.m_count; ++at) {
    const cpsdp_media& media = *parsed.parms.media[at];
    for (std::size_t format = 0; format < media.fmt_count; ++format) {
      if (!is_told_anew(media, format)) continue;
      const std::string name = "m[" + std::to_string(at + 1) + "].fmt[" + std::to_string(format + 1) +
                               "]=" + std::to_string(media.fmt[format]);
      for (std::string& line : lines) {
        if (!line.starts_with(name)) continue;
        const std::size_t fmtp = line.find(" [");
        const std::string rest = fmtp == line.npos ? "" : line.substr(fmtp);
        line = name +
               format_again(media, format, parsed.pool).substr(std::to_string(media.fmt[format]).size()) +
               rest;
      }
    }
  }
  return lines;
}

// An origin without its words is written, and cannot be read again.
bool has_origin(const cpsdp_parms& parms) { return !parms.o_username.empty() && !parms.o_address.empty(); }

void expect_same_again(const Parsed& parsed, int encodes) {
  const std::string text = encode(parsed, encodes);
  if (encodes != 0) return;
  SCOPED_TRACE(text);
  Parsed again;
  parse(text, again);
  if (!has_origin(parsed.parms)) {
    EXPECT_EQ(again.reason, 7);
    return;
  }
  EXPECT_EQ(again.reason, 0);
  EXPECT_EQ(difference(lines_again(parsed), session_lines(again.parms, again.pool)), "");
}

TEST(SessionCorpus, EveryFileHasItsRow) {
  std::set<std::string> rows;
  for (const BodyRow& row : body_rows())
    rows.insert(row.name);
  for (const FaultyBodyRow& row : faulty_body_rows())
    rows.insert(row.name);
  EXPECT_EQ(rows.size(), body_rows().size() + faulty_body_rows().size()) << "a file stands twice";
  const std::vector<std::string> files = corpus_names("bodies", ".sdp");
  EXPECT_EQ(std::set<std::string>(files.begin(), files.end()), rows);
}

TEST(SessionCorpus, ReadmeTellsTheHabitBehindEachBodyThatParses) {
  std::string readme = corpus_file("README.md");
  readme.erase(0, readme.find("## bodies/"));
  for (const BodyRow& row : body_rows()) {
    EXPECT_NE(readme.find("`" + std::string(row.name) + "`"), readme.npos) << row.name;
  }
}

TEST(SessionCorpus, BodiesOfDevicesParse) {
  for (const BodyRow& row : body_rows()) {
    SCOPED_TRACE(row.name);
    Parsed parsed;
    parse(body(row.name), parsed);
    EXPECT_EQ(parsed.reason, 0);
    EXPECT_EQ(missing_lines(session_lines(parsed.parms, parsed.pool), row.fields), "");
  }
}

TEST(SessionCorpus, FaultyBodiesFailWithTheirReason) {
  for (const FaultyBodyRow& row : faulty_body_rows()) {
    SCOPED_TRACE(row.name);
    Parsed parsed;
    parse(body(row.name), parsed);
    EXPECT_EQ(parsed.reason, row.reason);
  }
}

// 12 and 32 are not given to anything, and 51 cannot come about: no line of a medium has a higher rank than
// its attributes.
TEST(SessionCorpus, EveryReasonThereIsHasABody) {
  std::set<int> reasons;
  for (const FaultyBodyRow& row : faulty_body_rows())
    reasons.insert(row.reason);
  for (int reason = 1; reason <= 55; ++reason) {
    const bool is_none = reason == 12 || reason == 32 || reason == 51;
    EXPECT_EQ(reasons.count(reason), is_none ? 0U : 1U) << "reason " << reason;
  }
}

TEST(SessionCorpus, BodiesComeBackFromTheEncoderTheSame) {
  for (const BodyRow& row : body_rows()) {
    SCOPED_TRACE(row.name);
    if (std::string_view(row.name) == "odd-doubled-blank") continue;
    Parsed parsed;
    parse(body(row.name), parsed);
    expect_same_again(parsed, row.encodes);
  }
}

// A run of blanks is one separator in the length of a text, which starts where its first word does.
TEST(SessionCorpus, DoubledBlankCostsACharacterAtEachParse) {
  Parsed parsed;
  parse(body("odd-doubled-blank"), parsed);
  Parsed again;
  parse(encode(parsed, 0), again);
  EXPECT_EQ(again.parms.s_name.in(again.pool), "two  blan");
}

TEST(SessionCorpus, GeneratedSessionsComeBackTheSame) {
  unsigned media = 0;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Chance chance(seed);
    Parsed made;
    generate_session(chance, made);
    media += made.parms.m_count;
    expect_same_again(made, 0);
    if (testing::Test::HasFailure()) return;
  }
  EXPECT_GT(media, 500U);
}

TEST(SessionCorpus, TextsOfEveryLengthComeBackWhole) {
  for (const unsigned length : {1U, 2U, 63U, 127U, 128U, 129U}) {
    SCOPED_TRACE(length);
    Parsed made;
    Chance chance(length);
    generate_session(chance, made);
    made.parms.s_name = {static_cast<std::uint8_t>(length), static_cast<std::uint16_t>(made.pool.size())};
    made.pool += chance.word(length, length);
    expect_same_again(made, 0);
  }
}

TEST(SessionCorpus, LongestTextsAreWhole) {
  Parsed fmtp;
  parse(body("limit-fmtp-255"), fmtp);
  ASSERT_EQ(fmtp.parms.m_count, 1);
  EXPECT_EQ(fmtp.parms.media[0]->fmtp[0].in(fmtp.pool).size(), 255U);
  Parsed word;
  parse(body("limit-129-character-word"), word);
  ASSERT_EQ(word.parms.m_count, 1);
  EXPECT_EQ(word.parms.media[0]->a_attr[0].in(word.pool), std::string(129, 'w'));
}

TEST(SessionCorpus, NameOfMoreThan255CharactersIsCut) {
  Parsed parsed;
  parse(body("limit-text-cut"), parsed);
  const std::string name(parsed.parms.s_name.in(parsed.pool));
  EXPECT_EQ(name.size(), 255U);
  EXPECT_TRUE(name.ends_with(" " + std::string(63, 'n')));
}

// Bytes changed by chance: a reason or a session, and no byte is read outside the body.
TEST(SessionCorpus, DamagedBodiesEndInAReasonOrASession) {
  static constexpr std::string_view kOddBytes{"\0 \r\n=:/,-;m4ca", 14};
  for (const BodyRow& row : body_rows()) {
    SCOPED_TRACE(row.name);
    const std::string whole = body(row.name);
    if (whole.empty()) continue;
    for (unsigned seed = 1; seed <= 40; ++seed) {
      Chance chance(seed);
      std::string text = whole;
      for (unsigned times = chance.between(1, 6); times > 0; --times) {
        text[chance.below(static_cast<unsigned>(text.size()))] =
            kOddBytes[chance.below(static_cast<unsigned>(kOddBytes.size()))];
      }
      // Of its own size, so that a byte behind it belongs to nobody.
      const auto exact = std::make_unique<char[]>(text.size());
      text.copy(exact.get(), text.size());
      cpsdp_parms parms;
      const int reason = CPSDP_ParseSession({exact.get(), text.size()}, parms);
      EXPECT_GE(reason, 0) << "seed " << seed;
      EXPECT_LE(reason, 55) << "seed " << seed;
      EXPECT_LE(parms.m_count, kCpsdpMaxMedia) << "seed " << seed;
    }
  }
}

}  // namespace
}  // namespace hark::test
