// Which reader this build has for each format. A format whose reader is not in
// this table answers as a file of unknown kind does.
#include <atomic>

#include "docinfo/DocReaders.h"

namespace zx {
namespace {

scDocReaderSet BuildReaders() {
  scDocReaderSet r;
  r.pdf = ReadPdfInfo;
  r.shellProperties = ReadShellProperties;
  r.tiff = ReadTiffInfo;
  r.jpeg = ReadJpegInfo;
  r.html = ReadHtmlInfo;
  r.rtf = ReadRtfInfo;
  r.word2 = ReadWord2Info;
  r.wordPerfect = ReadWordPerfectInfo;
  r.mail = ReadMailInfo;
  r.isCompoundFile = IsCompoundFile;
  r.propertySet = ReadPropertySetInfo;
  r.compoundMail = ReadCompoundMailInfo;
  r.officePackage = ReadOfficePackage;
  r.xmlProperties = ReadXmlProperties;
  return r;
}

const scDocReaderSet g_buildReaders = BuildReaders();
std::atomic<const scDocReaderSet*> g_testReaders{nullptr};

}  // namespace

const scDocReaderSet& DocReaders() {
  const scDocReaderSet* t = g_testReaders.load(std::memory_order_acquire);
  return t ? *t : g_buildReaders;
}

void SetDocReadersForTests(const scDocReaderSet* readers) {
  g_testReaders.store(readers, std::memory_order_release);
}

}  // namespace zx
