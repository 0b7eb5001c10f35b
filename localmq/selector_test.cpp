#include "localmq/selector.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace localmq {
namespace {

struct Message {
  MQMD Descriptor;
  std::vector<std::uint8_t> Data;
};

void Append(std::vector<std::uint8_t>& data, const void* bytes, std::size_t length) {
  const auto* from = static_cast<const std::uint8_t*>(bytes);
  data.insert(data.end(), from, from + length);
}

Message WithFolders(const std::vector<std::string>& folders) {
  Message message;
  message.Descriptor.Version = MQMD_VERSION_2;
  std::memcpy(message.Descriptor.Format, MQFMT_RF_HEADER_2, 8);
  MQRFH2 header;
  for (const std::string& folder : folders) header.StrucLength += 4 + static_cast<MQLONG>(folder.size());
  Append(message.Data, &header, sizeof header);
  for (const std::string& folder : folders) {
    const auto length = static_cast<MQLONG>(folder.size());
    Append(message.Data, &length, sizeof length);
    Append(message.Data, folder.data(), folder.size());
  }
  Append(message.Data, "payload", 7);
  return message;
}

bool Selects(std::string_view text, const Message& message) {
  std::unique_ptr<Selector> selector;
  EXPECT_EQ(Selector::Compile(text, selector), MQRC_NONE) << text;
  return selector && selector->Matches(message.Descriptor, message.Data);
}

TEST(Selector, EvaluatesOverPropertiesAndDescriptor) {
  Message message =
      WithFolders({"<mcd><Msd>jms_text</Msd><Type>order</Type></mcd>",
                   "<usr><Colour>red</Colour><Weight dt='r8'>2.5</Weight><Count dt='i4'>-12</Count>"
                   "<Big dt='i8'>9223372036854775807</Big><Hot dt='boolean'>1</Hot><Cold dt=\"boolean\">0"
                   "</Cold><Name>A_b 'x' &lt;&#x263A;</Name><Raw dt='bin.hex'>0AfC</Raw><Nil "
                   "xsi:nil='true'></Nil><Bad dt='i4'>1x</Bad><Empty/><Deep><Er>in</Er></Deep></usr>   "});
  message.Descriptor.Priority = 7;
  std::memcpy(message.Descriptor.PutApplName, "loader                      ", 28);
  message.Descriptor.MsgId[0] = 0xAB;

  struct Case {
    const char* Text;
    bool Selected;
  };
  const Case cases[] = {
      {"", true},
      {"  ", true},
      // Comparisons by type.
      {"Colour = 'red'", true},
      {"Colour <> 'red'", false},
      {"Colour = 'RED'", false},
      {"colour = 'red'", false},
      {"Count = -12 AND Count < -11.5 AND Count >= -0xC AND Count = -014", true},
      {"Weight = 2.5 and weight IS NULL", true},
      {"Weight > 25e-1", false},
      {"Weight BETWEEN 2 AND 2.5", true},
      {"Weight NOT BETWEEN 3 AND 4", true},
      {"Hot", true},
      {"NOT Hot", false},
      {"Hot = TRUE AND Cold = false", true},
      {"Hot = 'TRUE'", false},
      {"Count = '-12'", false},
      {"NOT Count = '-12'", true},
      {"Raw = \"0x0afc\"", true},
      {"Raw = \"0X0AFD\"", false},
      // Arithmetic: exact integers, then floating point; a division by zero is unknown.
      {"Count + 2 * 6 = 0", true},
      {"(Count + 2) * 6 = -60", true},
      {"-Count / 5 = 2 AND Count / 5.0 = -2.4", true},
      {"Big + 1 > 9.2e18", true},
      {"Big - 9223372036854775806 = 1", true},
      {"Count / 0 = 1 OR NOT Count / 0 = 1", false},
      {"Colour + 1 = 2 OR NOT (Colour + 1 = 2)", false},
      {"- - Count = +-12", true},
      // Three-valued logic.
      {"Missing = 1", false},
      {"NOT Missing = 1", false},
      {"Missing = 1 OR Hot", true},
      {"NOT (Missing = 1 AND Cold)", true},
      {"NOT (Missing = 1 OR Cold)", false},
      {"Missing IS NULL AND Colour IS NOT NULL AND Nil IS NULL AND Bad IS NULL", true},
      {"Empty IS NULL", false},
      {"Missing BETWEEN 1 AND 2 OR NOT Missing BETWEEN 1 AND 2", false},
      {"NOT Count BETWEEN 0 AND Missing", true},
      {"Missing IN ('a') OR Missing NOT IN ('a')", false},
      {"Missing LIKE '%' OR Missing NOT LIKE '%'", false},
      {"Colour = 'red' OR Colour = 'blue' AND Cold", true},
      // Lists and patterns.
      {"Colour IN ('blue', 'red')", true},
      {"Colour NOT IN ('blue', 'green')", true},
      {"Root.MQMD.Priority IN (1, 7) AND Count IN (-12)", true},
      {"Colour LIKE 'r%' AND Colour LIKE '_e_' AND Colour LIKE '%d'", true},
      {"Colour LIKE 're' OR Colour LIKE 'r_' OR Colour LIKE '%r'", false},
      {"Name LIKE 'A\\_%' ESCAPE '\\'", true},
      {"Name LIKE 'A\\%%' ESCAPE '\\'", false},
      {"Name = 'A_b ''x'' <\xE2\x98\xBA' AND Name LIKE '%<_'", true},
      {"Empty LIKE '' AND Empty LIKE '%' AND Empty NOT LIKE '_'", true},
      // Names.
      {"mcd.Type = 'order' AND JMSType = 'order' AND Deep.Er = 'in'", true},
      {"Root.MQMD.Priority = 7 AND JMSPriority > 6", true},
      {"Root.MQMD.PutApplName = 'loader' AND Root.MQMD.PutApplName = 'loader  '", true},
      {"Root.MQMD.MsgId = \"0xAB0000000000000000000000000000000000000000000000\"", true},
      {"JMSMessageID = 'ID:AB0000000000000000000000000000000000000000000000'", true},
      {"JMSDeliveryMode = 'NON_PERSISTENT' AND Root.MQMD.MsgSeqNumber = 1", true},
  };
  for (const Case& test : cases) EXPECT_EQ(Selects(test.Text, message), test.Selected) << test.Text;
}

TEST(Selector, RefusesWhatIsNoSelector) {
  const std::string refused[] = {
      "Colour =",
      "= 'red'",
      "Colour 'red'",
      "Colour = 'red",
      "Colour == 'red'",
      "Colour = red'",
      "(Colour = 'red'",
      "Colour = 'red')",
      "AND",
      "NOT",
      "Colour = 'a' AND",
      "Colour BETWEEN 1",
      "Colour BETWEEN 1 OR 2",
      "Colour IN 'a'",
      "Colour IN ()",
      "Colour IN ('a',)",
      "Colour IN ('a'",
      "Colour LIKE",
      "Colour LIKE 5",
      "Colour LIKE 'a' ESCAPE ''",
      "Colour LIKE 'a' ESCAPE 'ab'",
      "Colour LIKE 'a!' ESCAPE '!'",
      "Colour IS",
      "Colour IS NOT 5",
      "'a' IS NULL",
      "5",
      "'text'",
      "Count + 1",
      "Colour < 'red'",
      "TRUE > FALSE",
      "1 = 'a'",
      "'a' + 1 = 2",
      "NOT 5 = 5 + 'a'",
      "Colour NOT = 'a'",
      "Count = 09",
      "Count = 0x",
      "Count = 1e",
      "Count = 5abc",
      "Count = 1.2.3",
      "Colour; 1 = 1",
      "a..b = 1",
      "a. = 1",
      "\"0x1\" = Raw",
      "Raw = \"abc\"",
      "Root.MQMD.Colour = 1",
      "Root.Other.X = 1",
      "NULL = 1",
      "1 = 1 = ",
      std::string(500, '('),
      std::string(300, '(') + "1=1" + std::string(300, ')'),
  };
  for (const std::string& text : refused) {
    std::unique_ptr<Selector> selector;
    EXPECT_EQ(Selector::Compile(text, selector), MQRC_SELECTOR_SYNTAX_ERROR) << text;
    EXPECT_EQ(selector, nullptr);
  }
  std::unique_ptr<Selector> selector;
  EXPECT_EQ(Selector::Compile(std::string(10241, ' '), selector), MQRC_SELECTION_STRING_ERROR);
}

TEST(Selector, LongChainsNeedNoDeepStack) {
  std::string chain = "1 = 1";
  while (chain.size() < 10000) chain += " AND 1 = 1";
  EXPECT_TRUE(Selects(chain, Message{}));
  EXPECT_TRUE(Selects(std::string(10000, '-') + "1 = 1", Message{}));
  EXPECT_TRUE(Selects(std::string(190, '(') + "1 = 1" + std::string(190, ')'), Message{}));
}

TEST(Selector, ManyStarsStayCheap) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "%a";
  const Message message = WithFolders({"<usr><Text>" + std::string(20000, 'a') + "</Text></usr>"});
  EXPECT_FALSE(Selects("Text LIKE '" + pattern + "b'", message));
  EXPECT_TRUE(Selects("Text LIKE '" + pattern + "'", message));
}

}  // namespace
}  // namespace localmq
