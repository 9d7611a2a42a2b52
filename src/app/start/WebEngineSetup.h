#pragma once

namespace vorda {

/// What the diff column's web engine needs before the application object
/// exists: shared graphics contexts, and, for a process running as root
/// (containers, CI machines), Chromium's flags to run without its sandbox
/// and without a GPU. Flags the user set are kept; ours are added.
void prepareWebEngine();

}  // namespace vorda
