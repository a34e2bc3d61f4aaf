// zxut prof's subcommands for whole files carried in a profile.
#pragma once

namespace zxut {

// Packs FILE into a new "File.Entry" list named NAME under PATH of PROFILE (made
// when missing; a compressed profile stays compressed). 0, or 1 with a message.
int ProfPackFile(const char* profile, const char* path, const char* file);
// Writes the files of the "File.Entry" lists under PATH ("/" for the root) into DIR.
int ProfExtract(const char* profile, const char* path, const char* dir);

}  // namespace zxut
