// Unpacks archives beside links that lead out of the folder, and looks whether anything outside has changed. The first
// byte says whether the others are the archive, or lines "NAME=CONTENT" to make one of, and whether paths are dropped.
#include <stdint.h>
#include <stdlib.h>
#include <unistd.h>
#include <zip.h>

#include <set>

#include "fuzz/fuzz_phone.h"

namespace fs = std::filesystem;

namespace {

std::set<std::string> names_in(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path());
  return names;
}

// All that a name could lead to: what is above the folder, and where the links lead.
std::set<std::string> outside(const std::string& root) {
  std::set<std::string> names;
  for (const char* folder : {"", "/cache", "/cache/outside", "/data"}) names.merge(names_in(root + folder));
  names.merge(names_in("/"));
  std::string kept;
  atd::sim::read_file(root + "/cache/outside/kept", &kept);
  names.insert(kept);
  return names;
}

void make_archive(const std::string& file, std::string lines) {
  const zipFile zip = zipOpen(file.c_str(), 0);
  for (size_t end; !lines.empty(); lines.erase(0, end + 1)) {
    end = std::min(lines.find('\n'), lines.size() - 1);
    const size_t sign = std::min(lines.find('='), end);
    const std::string name = lines.substr(0, sign), content = lines.substr(sign, end - sign);
    zipOpenNewFileInZip(zip, name.c_str(), nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 1);
    zipWriteInFileInZip(zip, content.data(), static_cast<unsigned>(content.size()));
    zipCloseFileInZip(zip);
  }
  zipClose(zip, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static const fs::path home = fs::current_path();
  if (size == 0) return 0;
  const std::string& root = phone->root();
  const std::string folder = root + "/cache/minios", text(reinterpret_cast<const char*>(data) + 1, size - 1);
  atd::sim::make_folders(folder + "/there");
  atd::sim::make_folders(root + "/cache/outside");
  atd::sim::write_file(root + "/cache/outside/kept", "kept");
  symlink("../outside", (folder + "/link").c_str());
  symlink("../../outside", (folder + "/there/link").c_str());
  symlink("../outside/kept", (folder + "/file").c_str());
  if (data[0] & 1) make_archive(root + "/cache/x.zip", text);
  else atd::sim::write_file(root + "/cache/x.zip", text);
  const std::set<std::string> before = outside(root);
  MakeZipFile zip;
  if (zip.OpenUnZip("/cache/x.zip") == 1) {
    zip.FolderFromZip(data[0] >> 1 & 1, 1, data[0] & 4 ? "secret" : nullptr);
    // An absolute path is the caller's own, and may be anywhere.
    if (text[0] != '/') makedir(text.c_str());
  }
  zip.CloseUnZip();
  // The fuzzer's own paths are relative.
  fs::current_path(home);
  if (outside(root) != before) abort();
  atd::sim::empty_folder(folder);
  phone.settle();
  return 0;
}
