#include "localmq/properties.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace localmq {
namespace {

// Builds an MQRFH2 byte by byte, so that each length in it can be wrong.
struct HeaderBuilder {
  MQLONG Encoding{MQENC_REVERSED};
  std::vector<std::uint8_t> Bytes;

  HeaderBuilder& Integer(MQLONG value) {
    const auto bits = static_cast<std::uint32_t>(value);
    for (unsigned i = 0; i < 4; ++i) {
      const unsigned shift = Encoding == MQENC_REVERSED ? 8 * i : 24 - 8 * i;
      Bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
    }
    return *this;
  }
  HeaderBuilder& Text(std::string_view text) {
    Bytes.insert(Bytes.end(), text.begin(), text.end());
    return *this;
  }
  HeaderBuilder& Fixed(MQLONG length, MQLONG ccsid = 1208, MQLONG version = 2) {
    return Text("RFH ")
        .Integer(version)
        .Integer(length)
        .Integer(Encoding)
        .Integer(1208)
        .Text("MQSTR   ")
        .Integer(0)
        .Integer(ccsid);
  }
  HeaderBuilder& Folder(std::string_view xml) { return Integer(static_cast<MQLONG>(xml.size())).Text(xml); }

  // The text of property `name` as a message of these bytes shows it, or "(null)". The bytes are copied to the end of a
  // block of their own, so that the address sanitizer sees a read beyond them.
  std::string Property(std::string_view name, const char* format = MQFMT_RF_HEADER_2) const {
    MQMD md;
    md.Encoding = Encoding;
    std::memcpy(md.Format, format, 8);
    const std::vector<std::uint8_t> exact(Bytes);
    MessageProperties properties(md, exact);
    const PropertyValue value = properties.Find(name);
    return value.IsNull() ? "(null)" : std::string(value.Text);
  }
};

constexpr std::string_view kFolder = "<usr><a>one</a></usr>";
constexpr MQLONG kLength = 36 + 4 + 21;

TEST(MessageProperties, ReadsBothByteOrders) {
  for (const MQLONG encoding : {MQENC_REVERSED, MQENC_NORMAL}) {
    EXPECT_EQ((HeaderBuilder{encoding, {}}.Fixed(kLength).Folder(kFolder).Property("a")), "one");
  }
}

TEST(MessageProperties, ConvertsFoldersOfOtherCodePages) {
  const std::string ebcdic = "\x4C\xA4\xA2\x99\x6E\x4C\x81\x6E\xF1\x4C\x61\x81\x6E\x4C\x61\xA4\xA2\x99\x6E";
  const auto length = static_cast<MQLONG>(40 + ebcdic.size());
  EXPECT_EQ(HeaderBuilder{}.Fixed(length, 37).Folder(ebcdic).Property("a"), "1");
  EXPECT_EQ(HeaderBuilder{}.Fixed(length, 99999).Folder(ebcdic).Property("a"), "(null)");
}

TEST(MessageProperties, TakesNothingFromBadHeaders) {
  const auto whole = HeaderBuilder{}.Fixed(kLength).Folder(kFolder).Bytes;
  for (std::size_t cut = 0; cut < whole.size(); ++cut) {
    EXPECT_EQ(
        (HeaderBuilder{MQENC_REVERSED, {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut)}}.Property(
            "a")),
        "(null)")
        << cut;
  }
  EXPECT_EQ(HeaderBuilder{}.Fixed(kLength).Folder(kFolder).Property("a", MQFMT_STRING), "(null)");
  EXPECT_EQ(HeaderBuilder{}.Fixed(kLength, 1208, 1).Folder(kFolder).Property("a"), "(null)");
  for (const MQLONG length : {-1, 0, 35, 38, kLength - 1, kLength + 1, 0x7FFFFFFF}) {
    EXPECT_EQ(HeaderBuilder{}.Fixed(length).Folder(kFolder).Property("a"), "(null)") << length;
  }
  for (const MQLONG length : {-1, 22, 1000, 0x7FFFFFFF, static_cast<MQLONG>(0x80000000)}) {
    EXPECT_EQ(HeaderBuilder{}.Fixed(kLength).Integer(length).Text(kFolder).Property("a"), "(null)") << length;
  }
}

TEST(MessageProperties, KeepsWhatStandsBeforeBadXml) {
  const std::string_view bad[] = {
      "<usr><a>one</a><b>two</usr>",
      "<usr><a>one</a><b",
      "<usr><a>one</a></b></usr>",
      "<usr><a>one</a>< ></usr>",
      "<usr><a>one</a><b dt='i4>1</b></usr>",
      "<usr><a>one</a><b dt=>1</b></usr>",
      "<usr><a>one</a>&#xFFFFFFFF;</usr>",
  };
  for (const std::string_view xml : bad) {
    const auto length = static_cast<MQLONG>(40 + xml.size());
    EXPECT_EQ(HeaderBuilder{}.Fixed(length).Folder(xml).Property("a"), "one") << xml;
  }
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<x>";
  EXPECT_EQ(HeaderBuilder{}.Fixed(static_cast<MQLONG>(40 + deep.size())).Folder(deep).Property("x"), "(null)");
}

}  // namespace
}  // namespace localmq
