// The pid file, and the modification time of a file. Called by main, and by whoever watches a file.
#pragma once

#include <string>

namespace hark {

// Folder of the pid file, with its closing slash. Writable for deployments and tests.
extern std::string pid_file_folder;

// Writes "<pid>\n" to "<folder><name>.pid", `name` being what stands behind the last "/" of the argument and
// the path without the folder's root held to 31 characters. A failure is silent.
void create_pid_file(const char* name);

// Deletes the file that create_pid_file would write for `name`. A failure is silent.
void remove_pid_file(const char* name);

// Stores the modification time of `path` in seconds. 0; -1 for a null `mtime`; the errno of stat(2)
// otherwise. Requires a path that is not null.
[[nodiscard]] int get_filetime(const char* path, long* mtime);

}  // namespace hark
