// Places below the working folder, for names that come from an archive.
#pragma once

namespace atd {

// The folder that the last part of a path is in. It is reached part by part without following a link, so nothing leads
// out of the working folder. "/" divides parts.
class EntryPlace {
 public:
  // The path outlives the place. One that leads_out, and one whose folder is not there, gives a place that is not open,
  // with errno ENOENT; ENOTDIR where a link or a file stands in the way.
  explicit EntryPlace(const char* path);
  ~EntryPlace();
  EntryPlace(const EntryPlace&) = delete;
  EntryPlace& operator=(const EntryPlace&) = delete;

  bool is_open() const { return folder_ >= 0; }

  // Whether there is a file.
  bool has_file() const;

  // Opens the file, made where it is missing, for writing it anew; a descriptor that the caller closes, or -1 with
  // errno for anything but a file.
  int create_file() const;

  // Makes the folder with these mode bits; false with errno.
  bool make_folder(int mode) const;

 private:
  int folder_;
  const char* name_;
};

// Whether a path is absolute or has a part "..", with "/" and "\" as what divides parts.
bool leads_out(const char* path);

}  // namespace atd
