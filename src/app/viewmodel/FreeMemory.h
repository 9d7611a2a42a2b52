#pragma once

namespace vorda {

/// Gives the pages that the allocator keeps free back to the system once the
/// event loop is next idle; calls before then are one. A replaced snapshot of
/// a large repository frees tens of megabytes, mostly in the arenas of the
/// threads that decoded it, and glibc would keep them: the resident size
/// would climb with every refresh although nothing leaks.
void releaseFreeMemorySoon();

}  // namespace vorda
