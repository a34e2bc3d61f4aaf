// The profile parser behind LoadProfile: one routine per format (0 text, 1 XML,
// 2 XFDF) over the lines of a clsProfReader. Nesting is kept on an explicit
// stack of frames rather than by recursion, so a file of any depth loads.
// Errors: format errors throw clsLoadException; the frames' lists are attached to
// the tree before they are filled, so what was read stays when an error stops
// the parse. Allocation failures throw clsLoadException as well.
// Threads: a local of one load.
#pragma once
#include <cstdint>
#include <vector>

#include "core/strings/String.h"

namespace zx {

class clsItemList;
class clsProfJob;
class clsProfReader;

enum : int32_t { kProfFormatText = 0, kProfFormatXml = 1, kProfFormatXfdf = 2 };

// The first header lines of the XML and XFDF forms, which the format detection
// compares the first line with.
inline constexpr char16_t kXmlHeaderLine[] = u"<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>";
inline constexpr char16_t kXfdfHeaderLine[] = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

class clsLoadParser {
 public:
  clsLoadParser(clsProfJob& job, clsProfReader& reader) : job_(job), reader_(reader) {}

  // Parses into `list` at `level` in `format` until the run at that level returns
  // or the data ends.
  void Run(clsItemList* list, int32_t level, int32_t format);
  // The INI path: drops lines up to and with the first one that begins with "[",
  // then parses the rest into `list` at level 0 as text. False when no such line.
  bool RunIni(clsItemList* list);

  uint32_t line = 0;     // count of the non-empty lines the parser requested
  bool comment = false;  // inside an XML comment

 private:
  struct Frame {
    int32_t level;
    clsItemList* list;
    int32_t format;
  };
  void TextLine(char16_t* text, const Frame& f);
  void XmlLine(char16_t* text, const Frame& f);
  void XmlTag(char16_t* tag, const Frame& f);
  void XfdfLine(char16_t* text, const Frame& f);

  // A list appended to `into` (attached at once) and entered at level + 1.
  void Enter(clsItemList* into, const char16_t* name, int64_t length, const Frame& f);
  void AppendValue(clsItemList* into, const char16_t* name, int64_t nameLength, const char16_t* value,
                   int64_t valueLength);
  // The run of the current frame ends.
  void Return() { frames_.pop_back(); }
  // The current run hands over to a run that ends it when it returns.
  void Replace(const Frame& f) { frames_.back() = f; }
  [[noreturn]] void Fail(const char16_t* message);
  String JoinedFieldPath() const;

  clsProfJob& job_;
  clsProfReader& reader_;
  std::vector<Frame> frames_;
  std::vector<String> fieldPath_;
};

}  // namespace zx
