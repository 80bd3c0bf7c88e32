#pragma once

#include <filesystem>

// Files that must not outlive an unfinished run. A signal that ends the program (interrupt, terminate, hang
// up, quit) removes them first; the program then ends by the signal, as its caller expects.

// Call once, before any thread is started. It also turns SIGPIPE and SIGXFSZ into ordinary write errors.
void guardTemporaryFiles();

// Makes a new, empty file in the folder of the given file, with the permissions of the given file if it
// exists, else those of any new file. Returns its descriptor and stores its path. Throws Error.
int makeTemporaryFile(const std::filesystem::path& file, std::filesystem::path* temporary);

// Renames the temporary file to the given one. Throws Error.
void commitTemporaryFile(const std::filesystem::path& temporary, const std::filesystem::path& file);
void removeTemporaryFile(const std::filesystem::path& temporary) noexcept;
