// Tests of what is read before the pixels of a PNG file, byte by byte.
#include "tools/proof/png_chunks.h"

#include <gtest/gtest.h>

#include "tests/tools/proof_run.h"

namespace kestra::proof {
namespace {

using namespace std::string_literals;

const std::string kSignature = "\x89PNG\r\n\x1A\n";

// Length, type, bytes and a checksum, which nobody asks for.
std::string chunk(const std::string& type, const std::string& bytes) {
  const std::string length = {'\0', '\0', static_cast<char>(bytes.size() / 256),
                              static_cast<char>(bytes.size() % 256)};
  return length + type + bytes + "sum!";
}

// 1 x 1 pixel of 8 bits and a colour type.
std::string header(char colours) {
  return chunk("IHDR", "\0\0\0\1\0\0\0\1\x08"s + colours + "\0\0\0"s);
}

std::vector<PngChunk> chunksOf(const std::string& bytes) {
  const ProofDirectory directory;
  directory.writeText("picture.png", bytes);
  return chunksBeforePixels(directory.path("picture.png"));
}

TEST(PngChunks, EndBeforeThePixels) {
  const auto chunks = chunksOf(kSignature + header(0) + chunk("tEXt", "Software\0me"s) +
                               chunk("IDAT", "dots") + chunk("tRNS", "\0\0"s));
  ASSERT_EQ(chunks.size(), 2U);
  EXPECT_EQ(chunks[1].type, "tEXt");
  EXPECT_EQ(pngText(chunks, "Software"), "me");
  EXPECT_EQ(pngText(chunks, "Soft"), "");
  EXPECT_FALSE(isTransparent(chunks));
}

TEST(PngChunks, AreNoneInOtherFiles) {
  EXPECT_TRUE(chunksOf("").empty());
  EXPECT_TRUE(chunksOf("\x89PNG\r\n\x1A").empty());
  EXPECT_TRUE(chunksOf("GIF89a" + header(4)).empty());
  EXPECT_TRUE(chunksBeforePixels("/nowhere/at/all.png").empty());
}

TEST(PngChunks, ThatBreakOffAreLeftOut) {
  const std::string whole = kSignature + header(0) + chunk("tEXt", "Software\0me"s);
  EXPECT_EQ(chunksOf(whole.substr(0, whole.size() - 6)).size(), 1U);
  const auto large = chunksOf(kSignature + "\x7F\xFF\xFF\xFF" + "iCCPbytes");
  ASSERT_EQ(large.size(), 1U);
  EXPECT_EQ(large[0].bytes, "");
}

TEST(PngChunks, TellWhereAPictureMayBeTransparent) {
  for (const char colours : {'\4', '\6'})
    EXPECT_TRUE(isTransparent(chunksOf(kSignature + header(colours))));
  for (const char colours : {'\0', '\2', '\3'}) {
    EXPECT_FALSE(isTransparent(chunksOf(kSignature + header(colours))));
    EXPECT_TRUE(isTransparent(chunksOf(kSignature + header(colours) + chunk("tRNS", "\0"s))));
  }
}

TEST(PngChunks, HoldTextInAnyAlphabet) {
  const auto chunks =
      chunksOf(kSignature + header(0) + chunk("iTXt", "Title\0\0\0en\0Titel\0\xC3\xA4.pdf"s));
  EXPECT_EQ(pngText(chunks, "Title"), "\xC3\xA4.pdf");
  EXPECT_EQ(pngText(chunksOf(kSignature + header(0) + chunk("iTXt", "Title\0\0\0en"s)), "Title"),
            "")
      << "it breaks off";
}

}  // namespace
}  // namespace kestra::proof
