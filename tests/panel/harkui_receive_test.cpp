// The lines of the station: what may stand in front of an object, whose lines count, how a lamp's word and a
// fader's level are read.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using HarkUIReceive = HarkUITest;

TEST_F(HarkUIReceive, AnyVerbInAnyCaseMayStandInFront) {
  for (const char* start : {"set ", "event ", "add ", "remove ", "SET ", "Event ", "ADD ", "rEmOvE ", ""}) {
    for (const char* object : {"HARKUI#", "harkui#", "HarkUI#"}) {
      SCOPED_TRACE(std::string(start) + object);
      Attached();
      Line(std::string(start) + object + "desk.BUT#KL01 IND=On");
      EXPECT_EQ(ui->getindi(sig("KL01")), '1');
    }
  }
}

TEST_F(HarkUIReceive, ObjectAloneNeedsNoName) {
  Attached();
  Line("BUT#KL01 IND=On");
  Line("FAD#SPKV gain=-60");
  Line("DISP#KL02 TEXT=\"Bob\"");
  EXPECT_EQ(ui->getindi(sig("KL01")), '1');
  EXPECT_THAT(faders, ElementsAre("SPKV -60"));
  EXPECT_EQ(Record(1), "Bob/ 0");
}

TEST_F(HarkUIReceive, LinesOfANameOfTheSameLengthAreTaken) {
  for (const char* id : {"desk", "gate", "1234", "...."}) {
    SCOPED_TRACE(id);
    Attached();
    Line(std::string("set HARKUI#") + id + ".BUT#KL01 IND=On");
    EXPECT_EQ(ui->getindi(sig("KL01")), '1');
  }
}

TEST_F(HarkUIReceive, AnyCharacterMayStandBehindTheOwnName) {
  for (const char* behind : {".", "-", "x", " "}) {
    SCOPED_TRACE(behind);
    Attached();
    Line(std::string("set HARKUI#desk") + behind + "BUT#KL01 IND=On");
    EXPECT_EQ(ui->getindi(sig("KL01")), '1');
  }
}

TEST_F(HarkUIReceive, OtherNamesAreDropped) {
  Attached();
  for (const char* start : {"set HARKUI#gates.", "set HARKUI#gat.", "set HARKUI#.", "set HARKUI#",
                            "HARKUI#x.", "set HARKUI#gate-", "set HARKUI#desks.", "set HARKUI#des."}) {
    SCOPED_TRACE(start);
    Line(std::string(start) + "BUT#KL01 IND=On");
    Line(std::string(start) + "DISP#KL01 TEXT=\"Bob\"");
    Line(std::string(start) + "FAD#KL01 gain=-60");
    EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
    EXPECT_EQ(Record(0), "/ 0");
    EXPECT_TRUE(Silent());
  }
}

TEST_F(HarkUIReceive, LineThatEndsWithinTheNameIsDropped) {
  Attached();
  const std::string whole = "set HARKUI#desk.";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(whole.substr(0, length));
    Line(whole.substr(0, length));
    EXPECT_TRUE(Silent());
  }
}

// A long name makes a shorter line look as if it ended in the middle of it.
TEST_F(HarkUIReceive, LineShorterThanTheOwnNameIsDropped) {
  Make(1, 4, 0, std::string(64, 'x')).HarkUI_Initialize();
  Forget();
  for (const char* line :
       {"set HARKUI#", "set HARKUI#x", "set HARKUI#xxxxxxxx", "HARKUI#x.BUT#KL01 IND=On"}) {
    SCOPED_TRACE(line);
    Line(line);
    EXPECT_TRUE(Silent());
    EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
  }
}

TEST_F(HarkUIReceive, WordOfALampBecomesALetter) {
  struct Row {
    const char* value;
    char letter;
  };
  for (const Row& row : {
           Row{"On", '1'},        Row{"ON", '1'},      Row{"on", '1'},    Row{"oN", '1'},
           Row{"Off", '0'},       Row{"OFF", '0'},     Row{"off", '0'},   Row{"oFf", '0'},
           Row{"\"On\"", '1'},    Row{"\"Off\"", '0'}, Row{"Flash", 'F'}, Row{"FLASH", 'F'},
           Row{"\"Flash\"", 'F'}, Row{"R", 'R'},       Row{"P", 'P'},     Row{"*", '*'},
           Row{"Wink", 'W'},      Row{"1", '1'},       Row{"0", '0'},     Row{"flash", 'f'},
           Row{"Once", 'O'},      Row{"o", 'o'},       Row{"Offer", 'O'}, Row{"On,x=1", '1'},
           Row{"On more", '1'},   Row{"Of", 'O'},      Row{"C", 'C'},     Row{"O", 'O'},
       }) {
    SCOPED_TRACE(row.value);
    Attached();
    Set(std::string("BUT#KL01 IND=") + row.value);
    EXPECT_EQ(ui->getindi(sig("KL01")), row.letter);
  }
}

TEST_F(HarkUIReceive, LongWordOfALampCountsByItsFirstLetter) {
  for (const std::size_t length : {30U, 31U, 32U, 33U, 1000U}) {
    SCOPED_TRACE(length);
    Attached();
    Set("BUT#KL01 IND=Q" + std::string(length, 'x'));
    EXPECT_EQ(ui->getindi(sig("KL01")), 'Q');
  }
}

TEST_F(HarkUIReceive, LampTagStandsAnywhereInTheList) {
  Attached();
  Set("BUT#KL01 KEY=UP, IND=On");
  EXPECT_EQ(ui->getindi(sig("KL01")), '1');
  Set("BUT#KL01 ind:Off");
  EXPECT_EQ(ui->getindi(sig("KL01")), '0');
}

TEST_F(HarkUIReceive, LampIsShownAtOnce) {
  Attached();
  Set("BUT#KT02 IND=On");
  EXPECT_EQ(Lamp(kLampTalk, 1), kLampOn);
  EXPECT_EQ(Lamp(kLampListen, 1), kLampOff);
  Forget();
  Set("BUT#KT02 IND=Off");
  EXPECT_EQ(Lamp(kLampTalk, 1), kLampOff);
}

TEST_F(HarkUIReceive, LampShowsItsDisplayAgainButForTheFirstKey) {
  Attached(1, 4);
  Set("DISP#KL01 TEXT=\"Ann\"");
  Set("DISP#KL03 TEXT=\"Bob\", ALT=\"Robert\"");
  Forget();
  Set("BUT#KL01 IND=On");
  Set("BUT#KT01 IND=On");
  EXPECT_THAT(displays, IsEmpty());
  Set("BUT#KL03 IND=On");
  EXPECT_THAT(displays, ElementsAre("2 Bob/Robert"));
  Set("BUT#KT03 IND=Flash");
  Set("BUT#KL04 IND=Off");
  EXPECT_THAT(displays, ElementsAre("2 Bob/Robert", "2 Bob/Robert", "3 /"));
}

TEST_F(HarkUIReceive, FirstKeyOfARangeIsTheOneWithoutADisplay) {
  Attached(21, 4);
  Set("BUT#KL21 IND=On");
  EXPECT_THAT(displays, IsEmpty());
  Set("BUT#KL22 IND=On");
  Set("BUT#KT24 IND=On");
  EXPECT_THAT(displays, ElementsAre("1 /", "3 /"));
}

TEST_F(HarkUIReceive, LampOfAFunctionKeyShowsNoDisplay) {
  Attached(1, 90);
  for (const char* key : {"KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"}) {
    SCOPED_TRACE(key);
    Set(std::string("BUT#") + key + " IND=On");
    EXPECT_TRUE(Silent());
    EXPECT_EQ(ui->getindi(read_sig(key)), '1');
  }
}

TEST_F(HarkUIReceive, LampsOfKeysThatItDoesNotHaveAreDropped) {
  Attached(21, 4);
  for (const char* key : {"KL20", "KL25", "KT20", "KT25", "KL01", "KL00", "KL99", "KX22", "XX22", "MENU",
                          "SPKV", "SHFT", "KTzz", "kl22"}) {
    SCOPED_TRACE(key);
    Set(std::string("BUT#") + key + " IND=On");
    EXPECT_EQ(ui->getindi(read_sig(key)), '\0');
    EXPECT_TRUE(Silent());
  }
  for (const char* key : {"KL21", "KL22", "KL23", "KL24", "KT21", "KT22", "KT23", "KT24", "KLAA", "KTAA",
                          "TGRP", "ASGN", "SPKM", "MICM"})
    EXPECT_EQ(ui->getindi(read_sig(key)), '\0') << key;
}

TEST_F(HarkUIReceive, FaderIsTold) {
  Attached(1, 4);
  struct Row {
    const char* line;
    const char* told;
  };
  for (const Row& row : {
           Row{"FAD#SPKV gain=-60", "SPKV -60"},
           Row{"FAD#KL01 gain=0", "KL01 0"},
           Row{"FAD#KL04 gain=120", "KL04 120"},
           Row{"FAD#KL90 gain=-1000", "KL90 -1000"},  // the panel knows which faders it has
           Row{"FAD#HDPV gain=\"-60\"", "HDPV -60"},
           Row{"FAD#KL01 GAIN:7", "KL01 7"},
           Row{"FAD#KL01 dgain=10, gain=20", "KL01 20"},
           Row{"FAD#KL01 gain=0x10", "KL01 16"},
           Row{"FAD#KL01 gain=loud", "KL01 0"},
       }) {
    SCOPED_TRACE(row.line);
    Set(row.line);
    EXPECT_THAT(faders, ElementsAre(row.told));
    Forget();
  }
}

}  // namespace
}  // namespace hark::test
