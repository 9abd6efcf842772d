#include "blocks/tags.h"

#include <gmock/gmock.h>

#include <cstring>
#include <set>
#include <string>

namespace {

struct NamedTag {
  Tag tag;
  const char* text;
};

const NamedTag kAllTags[] = {
    {tag::kChunkRequest, "CRq3"},
    {tag::kParserChunkRequest, "PCR3"},
    {tag::kPlay, "Pla3"},
    {tag::kActivityRequest, "His3"},
    {tag::kPreviewRequest, "Prev"},
    {tag::kArchivesRequest, "ArcR"},
    {tag::kDataTick, "datr"},
    {tag::kArchives, "ArcA"},
    {tag::kKill, "Kill"},
    {tag::kNotify, "ntfy"},
    {tag::kChunkAnswer, "IRN3"},
    {tag::kReset, "rset"},
    {tag::kActivityGist, "Gist"},
    {tag::kEventList, "Evt "},
    {tag::kMessage, "NMsg"},
    {tag::kLevelWarning, "Warn"},
    {tag::kLevelError, "Err "},
    {tag::kLevelRunEnded, "Cewg"},
    {tag::kCodeEndOfFile, "EOF "},
    {tag::kCodeProgress, "W008"},
    {tag::kCodeNoArchive, "W010"},
    {tag::kRawData, "RDat"},
    {tag::kHeader, "Hdr3"},
    {tag::kIndex, "Idx3"},
    {tag::kData, "Dat3"},
    {tag::kVideo, "vid3"},
    {tag::kSound, "snd3"},
    {tag::kImage, "img3"},
    {tag::kText, "txt3"},
    {tag::kBinary, "bin3"},
    {tag::kUnknownKind, "unk3"},
    {tag::kStreamTag, "Tag "},
    {tag::kParserTag, "TagP"},
    {tag::kBlockFinished, "TagF"},
    {tag::kFormatZel3, "zel3"},
    {tag::kFormatZel1, "zel1"},
    {tag::kKindFolder, "Fold"},
    {tag::kFormatMany, "many"},
    {tag::kKindMany, "Many"},
    {tag::kSignatureParser, "Pars"},
    {tag::kSignatureReader, "Zel3"},
};

TEST(Tags, SpellTheirCodeInMemory) {
  for (const NamedTag& named : kAllTags)
    EXPECT_EQ(std::memcmp(&named.tag, named.text, 4), 0) << named.text;
}

TEST(Tags, AreShownAsTheirCode) {
  for (const NamedTag& named : kAllTags) EXPECT_EQ(FourCcText(named.tag), named.text);
  EXPECT_EQ(FourCcText(0), "");
}

TEST(Tags, AreAllDifferent) {
  std::set<Tag> different;
  for (const NamedTag& named : kAllTags) different.insert(named.tag);
  EXPECT_EQ(different.size(), std::size(kAllTags));
}

TEST(Tags, HaveTheirFirstCharacterInTheLowestByte) {
  EXPECT_EQ(FourCc("\xFF\x01\x80\x7F"), 0x7F8001FFU);
}

}  // namespace
