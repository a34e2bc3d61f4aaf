// The mount table of Linux (/proc/self/mountinfo) as the network-share mapping of
// platform/path.h reads it, with the seam through which tests give their own table.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace plat::internal {

struct Mount {
  std::string root;        // the folder of the mounted file system that appears here
  std::string mountPoint;  // escapes (\040 ...) decoded
  std::string fsType;
  std::string source;      // "//server/share" (cifs, smb3), "host:/export" (nfs)
};

// Lines of mountinfo's format; malformed lines are skipped.
std::vector<Mount> ParseMountInfo(const std::string& text);
// The network form "\\server\share[\folder...]" of a cifs, smb3 or nfs mount;
// empty for every other file system.
std::u16string NetworkNameOfMount(const Mount& mount);

// Tests: the text read instead of /proc/self/mountinfo; null restores the real file.
// Either way the next lookup parses the table afresh.
void SetMountInfoForTests(const std::string* text);
// Tests: how often the real table has been read (it is read again only after the
// kernel reported a change of the mounts).
uint64_t MountInfoReadsForTests();

}  // namespace plat::internal
