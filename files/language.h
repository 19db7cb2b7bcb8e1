#pragma once

/// The language of sentences for people, chosen once at the start of a program: Turkish, unless somebody says
/// otherwise. Older sentences of the disk and the engine know Turkish alone.
namespace files {

inline bool& inEnglish()
{
    static bool chosen = false;
    return chosen;
}

/// The one of two texts that say the same.
inline const char* said(const char* turkish, const char* english) { return inEnglish() ? english : turkish; }

} // namespace files
