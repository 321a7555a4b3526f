// Files and directories: existence, deleting, copying, making and removing
// directories, listing, and the process's current directory. Every failure
// names the path it concerns as the call's error detail.
#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "error_detail.h"
#include "op_context.h"
#include "registry.h"

namespace vexa {
namespace fs = std::filesystem;
namespace {

// The non-empty path of string control input `par`.
Vresult ReadPath(const OpContext& ctx, int par, fs::path* path) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  if (*name == '\0') return VERR_CTRL_VALUE(par);
  *path = name;
  return VRESULT_OK;
}

// The code of a failed file system call on `path`: a missing path or a
// missing parent is "not found", anything else a write failure.
Vresult PathFailure(const std::error_code& ec, const fs::path& path) {
  const bool missing = ec == std::errc::no_such_file_or_directory ||
                       ec == std::errc::not_a_directory;
  SetErrorDetail("'" + path.string() + "': " + ec.message());
  return missing ? VERR_FILE_NOT_FOUND : VERR_FILE_WRITE;
}

Vresult Refuse(Vresult code, const fs::path& path, const char* why) {
  SetErrorDetail("'" + path.string() + "' " + why);
  return code;
}

// What list_files gathers.
struct ListOptions {
  bool files = false;
  bool directories = false;
  bool recursive = false;
  bool follow_links = false;
  long max_depth = -1;   // levels below the directory; -1: no limit
  long max_files = -1;   // -1: no limit
};

// Reads "files", "directories", "recursive", "follow_links", "max_depth N"
// and "max_files N"; with neither "files" nor "directories", both.
Vresult ReadListOptions(const OpContext& ctx, int par, ListOptions* o) {
  std::vector<const char*> words;
  const Vresult rc = ctx.GetStrings(par, words);
  if (rc != VRESULT_OK) return rc;
  for (const std::string word : words) {
    const size_t space = word.find(' ');
    const std::string key = word.substr(0, space);
    long number = -1;
    if (space != std::string::npos) {
      const std::string digits = word.substr(space + 1);
      if (digits.empty() || digits.size() > 9 ||
          !std::all_of(digits.begin(), digits.end(), ::isdigit))
        return VERR_CTRL_VALUE(par);
      number = std::stol(digits);
    }
    const bool plain = space == std::string::npos;
    if (plain && key == "files") o->files = true;
    else if (plain && key == "directories") o->directories = true;
    else if (plain && key == "recursive") o->recursive = true;
    else if (plain && key == "follow_links") o->follow_links = true;
    else if (!plain && key == "max_depth" && number > 0) o->max_depth = number;
    else if (!plain && key == "max_files") o->max_files = number;
    else return VERR_CTRL_VALUE(par);
  }
  if (!o->files && !o->directories) o->files = o->directories = true;
  return VRESULT_OK;
}

}  // namespace

// 1 when something (a file, a directory) exists under the name, else 0.
VEXA_OPERATOR(file_exists) {
  fs::path path;
  const Vresult rc = ReadPath(ctx, 0, &path);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  return ctx.SetOutpLong(0, fs::exists(path, ec) ? 1 : 0);
}

// Deletes a file (not a directory: remove_dir does that).
VEXA_OPERATOR(delete_file) {
  fs::path path;
  const Vresult rc = ReadPath(ctx, 0, &path);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  const fs::file_status st = fs::symlink_status(path, ec);
  if (!fs::exists(st)) return Refuse(VERR_FILE_NOT_FOUND, path, "does not exist");
  if (fs::is_directory(st)) return Refuse(VERR_CTRL_VALUE(0), path, "is a directory");
  return fs::remove(path, ec) ? VRESULT_OK : PathFailure(ec, path);
}

// Copies a file, replacing the destination; a destination that is a
// directory receives the file under its own name.
VEXA_OPERATOR(copy_file) {
  fs::path from, to;
  Vresult rc = ReadPath(ctx, 0, &from);
  if (rc == VRESULT_OK) rc = ReadPath(ctx, 1, &to);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  if (!fs::is_regular_file(from, ec)) {
    return fs::exists(from, ec) ? Refuse(VERR_FILE_READ, from, "is not a file")
                                : Refuse(VERR_FILE_NOT_FOUND, from, "does not exist");
  }
  if (fs::is_directory(to, ec)) to /= from.filename();
  if (fs::exists(to, ec) && fs::equivalent(from, to, ec))
    return Refuse(VERR_CTRL_VALUE(1), to, "is the source itself");
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
  return ec ? PathFailure(ec, to) : VRESULT_OK;
}

// Makes a directory and any missing parents; an existing directory is
// left as it is.
VEXA_OPERATOR(make_dir) {
  fs::path path;
  const Vresult rc = ReadPath(ctx, 0, &path);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  if (fs::is_directory(path, ec)) return VRESULT_OK;
  if (fs::exists(path, ec)) return Refuse(VERR_FILE_WRITE, path, "exists and is not a directory");
  fs::create_directories(path, ec);
  return ec ? PathFailure(ec, path) : VRESULT_OK;
}

// Removes an empty directory.
VEXA_OPERATOR(remove_dir) {
  fs::path path;
  const Vresult rc = ReadPath(ctx, 0, &path);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  const fs::file_status st = fs::symlink_status(path, ec);
  if (!fs::exists(st)) return Refuse(VERR_FILE_NOT_FOUND, path, "does not exist");
  if (!fs::is_directory(st)) return Refuse(VERR_CTRL_VALUE(0), path, "is not a directory");
  if (!fs::is_empty(path, ec)) return Refuse(VERR_FILE_WRITE, path, "is not empty");
  return fs::remove(path, ec) ? VRESULT_OK : PathFailure(ec, path);
}

// The entries of a directory as paths that begin with the directory as
// given, directories with a trailing '/', in name order.
VEXA_OPERATOR(list_files) {
  fs::path dir;
  ListOptions opt;
  Vresult rc = ReadPath(ctx, 0, &dir);
  if (rc == VRESULT_OK) rc = ReadListOptions(ctx, 1, &opt);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) {
    return fs::exists(dir, ec) ? Refuse(VERR_CTRL_VALUE(0), dir, "is not a directory")
                               : Refuse(VERR_FILE_NOT_FOUND, dir, "does not exist");
  }
  const auto dir_options = opt.follow_links ? fs::directory_options::follow_directory_symlink
                                            : fs::directory_options::none;
  std::vector<std::string> names;
  fs::recursive_directory_iterator it(dir, dir_options | fs::directory_options::skip_permission_denied, ec);
  if (ec) return PathFailure(ec, dir);
  for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (ec) return PathFailure(ec, dir);
    const bool is_dir = it->is_directory(ec);
    const long depth = it.depth();
    // Without "recursive" only the directory's own entries (level 1); with
    // it, the tree down to level max_depth.
    const bool descend = opt.recursive && (opt.max_depth < 0 || depth + 1 < opt.max_depth);
    if (is_dir && !descend) it.disable_recursion_pending();
    if (is_dir ? opt.directories : opt.files) names.push_back(it->path().string() + (is_dir ? "/" : ""));
  }
  std::sort(names.begin(), names.end());
  if (opt.max_files >= 0 && names.size() > static_cast<size_t>(opt.max_files))
    names.resize(static_cast<size_t>(opt.max_files));
  return ctx.SetOutpStrings(0, names);
}

VEXA_OPERATOR(get_current_dir) {
  std::error_code ec;
  const fs::path cwd = fs::current_path(ec);
  if (ec) return PathFailure(ec, ".");
  return ctx.SetOutpString(0, cwd.string().c_str());
}

// Changes the current directory of the whole process.
VEXA_OPERATOR(set_current_dir) {
  fs::path path;
  const Vresult rc = ReadPath(ctx, 0, &path);
  if (rc != VRESULT_OK) return rc;
  std::error_code ec;
  fs::current_path(path, ec);
  return ec ? PathFailure(ec, path) : VRESULT_OK;
}

}  // namespace vexa
