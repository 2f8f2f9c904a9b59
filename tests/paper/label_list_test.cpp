// Tests of lists of labels, and of the digest that stands in them.
//
// A list that is half read would acquit a printer that lost the other half.
#include "tools/paper/label_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include "tests/paper/stream_bytes.h"
#include "tools/paper/label_digest.h"

namespace kestra::paper {
namespace {

const std::string kOnes(64, '1');
const std::string kAs(64, 'a');

TEST(LabelList, ReadsDigestsAndNames) {
  const std::string text = "# wanted\n" + kOnes + "  page 1.dat\n\n" + kAs + "\n";
  const auto list = parseList(text + kOnes + "\tlast \r\n");
  ASSERT_TRUE(list) << list.problem();
  ASSERT_EQ(list->size(), 3U);
  EXPECT_EQ((*list)[0].digest, kOnes);
  EXPECT_EQ((*list)[0].name, "page 1.dat");
  EXPECT_EQ((*list)[1].digest, kAs);
  EXPECT_EQ((*list)[1].name, "label 2");
  EXPECT_EQ((*list)[2].name, "last");
}

TEST(LabelList, RefusesALineThatIsNoDigest) {
  for (const std::string& line : {std::string("x"), std::string(63, '1'), std::string(65, '1'),
                                  std::string(64, 'A'), std::string(64, 'g')}) {
    std::string text = kOnes + "\n";
    text += line;
    EXPECT_EQ(parseList(text).problem(),
              "line 2 does not start with a digest of 64 digits from 0 to 9 and a to f");
  }
}

TEST(LabelList, ReadsItsOwnLines) {
  const auto list = parseList(listLine(ListedLabel{kAs, "a name"}) + "\n");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->at(0).digest, kAs);
  EXPECT_EQ(list->at(0).name, "a name");
}

std::string digestOf(const Bytes& frame, std::size_t piece) {
  LabelDigest digest;
  for (std::size_t at = 0; at < frame.size(); at += piece) {
    digest.add(reinterpret_cast<const std::uint8_t*>(frame.data()) + at,
               std::min(piece, frame.size() - at));
  }
  return digest.take();
}

TEST(LabelDigest, IsTheSameInAnyPiecesAndWithAnyPageNumber) {
  for (const std::size_t piece : {1U, 2U, 5U, 12U, 13U, 14U, 32U}) {
    for (const unsigned page : {0U, 1U, 8999U, 65535U}) {
      // The expected line is made in one piece, with another library.
      EXPECT_EQ(digestOf(smallFrame(0x80, page), piece) + "  x\n",
                listLine(smallFrame(0x80, 0), "x"))
          << piece;
    }
  }
}

TEST(LabelDigest, DiffersWithEveryOtherByte) {
  const Bytes frame = smallFrame();
  for (std::size_t at = 0; at < frame.size(); ++at) {
    Bytes other = frame;
    other[at] = static_cast<char>(other[at] ^ 1);
    EXPECT_EQ(digestOf(other, 32) == digestOf(frame, 32), at == 12 || at == 13) << at;
  }
}

TEST(LabelDigest, StartsAnewWhenTaken) {
  LabelDigest digest;
  const Bytes frame = smallFrame();
  const auto* data = reinterpret_cast<const std::uint8_t*>(frame.data());
  digest.add(data, frame.size());
  const std::string first = digest.take();
  digest.add(data, frame.size());
  EXPECT_EQ(digest.take(), first);
}

}  // namespace
}  // namespace kestra::paper
