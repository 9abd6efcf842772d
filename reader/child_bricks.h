#pragma once

class CBrick;
class CZel3FileReader;

// The bricks that a reader has made. It does not own them: each ends by itself once it has been
// told to, and one that has been told is forgotten.
struct ChildBricks {
  // Ends the chain of a run: disconnects it from `owner` and tells both children. They end after
  // this call. False when one could not be told for lack of memory: it is told the next time.
  bool EndChain(CBrick& owner);
  // Tells every child that is left, while the reader is destroyed. One that cannot be told stays
  // until the host ends.
  void EndAll();

  // The chain of a run: indexReader, then indexParser, then the reader itself.
  CZel3FileReader* indexReader = nullptr;
  CBrick* indexParser = nullptr;
  CBrick* previewParser = nullptr;  // never set: nothing asks for a parser for previews
};
