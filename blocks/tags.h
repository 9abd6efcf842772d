#pragma once

#include "blocks/four_cc.h"

// Every four-character tag that the archive reader sends, receives or compares.
namespace tag {

// Commands to the reader.
constexpr Tag kChunkRequest = FourCc("CRq3");  // which entry holds a time; also the pull of a run
constexpr Tag kParserChunkRequest = FourCc("PCR3");  // the bytes of an entry
constexpr Tag kPlay = FourCc("Pla3");                // start or restart playing
constexpr Tag kActivityRequest = FourCc("His3");     // activity of a stream over a range
constexpr Tag kPreviewRequest = FourCc("Prev");      // the entry to show for a time
constexpr Tag kArchivesRequest = FourCc("ArcR");     // the list of archives
constexpr Tag kDataTick = FourCc("datr");            // read and send the next portion

// Commands from the reader.
constexpr Tag kArchives = FourCc("ArcA");  // the answer to 'ArcR'
constexpr Tag kKill = FourCc("Kill");      // ends a brick

// Notifications: the block's tag, then the kinds at the start of the payload.
constexpr Tag kNotify = FourCc("ntfy");
constexpr Tag kChunkAnswer = FourCc("IRN3");
constexpr Tag kReset = FourCc("rset");
constexpr Tag kActivityGist = FourCc("Gist");
constexpr Tag kEventList = FourCc("Evt ");
constexpr Tag kMessage = FourCc("NMsg");

// Levels and codes of messages.
constexpr Tag kLevelWarning = FourCc("Warn");
constexpr Tag kLevelError = FourCc("Err ");
constexpr Tag kLevelRunEnded = FourCc("Cewg");
constexpr Tag kCodeEndOfFile = FourCc("EOF ");
constexpr Tag kCodeProgress = FourCc("W008");
constexpr Tag kCodeNoArchive = FourCc("W010");

// Data blocks.
constexpr Tag kRawData = FourCc("RDat");
constexpr Tag kHeader = FourCc("Hdr3");
constexpr Tag kIndex = FourCc("Idx3");
constexpr Tag kData = FourCc("Dat3");
constexpr Tag kVideo = FourCc("vid3");
constexpr Tag kSound = FourCc("snd3");
constexpr Tag kImage = FourCc("img3");
constexpr Tag kText = FourCc("txt3");
constexpr Tag kBinary = FourCc("bin3");
constexpr Tag kUnknownKind = FourCc("unk3");
constexpr Tag kStreamTag = FourCc("Tag ");
constexpr Tag kParserTag = FourCc("TagP");

// The only kind of stream tag that the reader acts on: the parser wants more bytes.
constexpr Tag kBlockFinished = FourCc("TagF");

// Content descriptors and signatures.
constexpr Tag kFormatZel3 = FourCc("zel3");
constexpr Tag kFormatZel1 = FourCc("zel1");
constexpr Tag kKindFolder = FourCc("Fold");
constexpr Tag kFormatMany = FourCc("many");
constexpr Tag kKindMany = FourCc("Many");
constexpr Tag kSignatureParser = FourCc("Pars");
constexpr Tag kSignatureReader = FourCc("Zel3");

static_assert(kHeader == 863134792 && kIndex == 863528009 && kData == 863265092);
static_assert(kParserTag == 1348952404 && kStreamTag == 543646036 && kRawData == 1952531538);
static_assert(kChunkRequest == 863064643 && kParserChunkRequest == 861029200);
static_assert(kPlay == 862022736 && kActivityRequest == 863201608);
static_assert(kPreviewRequest == 1986359888 && kArchives == 1097036353);
static_assert(kKill == 1819044171 && kNotify == 2036757614);

}  // namespace tag
