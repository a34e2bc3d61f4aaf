// Which reader this build has for each format. A format whose reader is not in
// this table answers as a file of unknown kind does.
#include <atomic>

#include "docinfo/DocReaders.h"

namespace zx {
namespace {

scDocReaderSet BuildReaders() {
  scDocReaderSet r;
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
