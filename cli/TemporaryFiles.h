#pragma once

#include <filesystem>

// Files that must not outlive an unfinished run. A signal that ends the program (interrupt, terminate, hang
// up, quit) removes them first; the program then ends by the signal, as its caller expects.

// To be called once, before any thread is started. It also turns a broken pipe and a file beyond the size
// limit from signals into ordinary write errors.
void guardTemporaryFiles();

// Makes a new, empty file beside the place, with permissions like those of the file that is there or of any
// new one. Answers its descriptor and stores its name in *file. Throws Error.
int makeTemporaryFile(const std::filesystem::path& place, std::filesystem::path* file);

// Ends the guard over the file: it takes the place, or goes. keepTemporaryFile throws Error.
void keepTemporaryFile(const std::filesystem::path& file, const std::filesystem::path& place);
void removeTemporaryFile(const std::filesystem::path& file) noexcept;
