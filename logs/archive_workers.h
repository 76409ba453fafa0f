// Deflating the files of an archive on several processors. The archive's bytes are those that one thread would write
// with zipWriteInFileInZip.
//
// Threads read and deflate whole files into chunks of memory, each thread one file at a time, in the order in which the
// files were added. The thread that adds them stores the chunks in the archive in that order. A file of any size goes
// this way: the chunks of the file whose turn it is are stored while it is being deflated, and two of them are kept
// free for it, so the others may wait for room.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <zip.h>
#include <zlib.h>

#include <memory>

#include "logs/archive_file.h"

namespace atd {

inline constexpr size_t kArchivePathSize = 1000;

class ArchiveWorkers {
 public:
  // Starts a thread for each processor that the process may use; none where there is only one, or no memory.
  explicit ArchiveWorkers(zipFile archive);

  // Stores the files that are left, and waits until the threads have ended.
  ~ArchiveWorkers();
  ArchiveWorkers(const ArchiveWorkers&) = delete;
  ArchiveWorkers& operator=(const ArchiveWorkers&) = delete;

  bool has_threads() const { return threads_ > 0; }

  // Adds a file; `name`, the entry's, is the end of `path`, which has at most kArchivePathSize - 1 characters. Stores
  // earlier files when many are waiting. Failures are logged.
  void add(const char* path, const char* name, const tm_zip& time);

 private:
  static constexpr int kMaxThreads = 8;
  static constexpr size_t kFiles = 64;
  static constexpr size_t kChunkSize = 64 * 1024;
  static constexpr size_t kChunks = 72;
  static constexpr size_t kKeptFree = 2;

  struct Chunk {
    Chunk* next;
    unsigned length;
    uint8_t bytes[kChunkSize];
  };

  struct File {
    char path[kArchivePathSize];
    size_t name_at;
    tm_zip time;
    // Written by the thread that deflates it, before the first chunk.
    bool is_open, is_large, is_text;
    // Before `is_done`.
    bool read_failed;
    uint64_t size;
    uLong crc;
    // With the lock held.
    Chunk *first, *last;
    bool is_done, is_dropped;
  };

  struct Thread {
    ArchiveWorkers* owner;
    z_stream stream;
  };

  static void* run(void* thread);
  void work(z_stream& stream);
  File& file(size_t number) { return files_[number % kFiles]; }
  bool is_turn_of(const File& which) { return &which == &file(stored_); }
  void deflate_file(z_stream& stream, File& from);
  void deflate_piece(z_stream& stream, int flush, File& from, Chunk*& chunk);
  Chunk* free_chunk(const File& from);
  void hand_over(z_stream& stream, File& from, Chunk* chunk);
  Chunk* await_chunk(File& from);
  void give_back(Chunk* chunk);
  bool is_dropped(const File& from);
  void drop(File& from);
  void store_next();

  zipFile archive_;
  Thread deflaters_[kMaxThreads];
  int threads_ = 0;
  std::unique_ptr<File[]> files_;
  std::unique_ptr<Chunk[]> chunks_;

  pthread_mutex_t lock_ = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t work_ = PTHREAD_COND_INITIALIZER;    // a file was added, or the end has come
  pthread_cond_t room_ = PTHREAD_COND_INITIALIZER;    // a chunk is free, or it is another file's turn
  pthread_cond_t output_ = PTHREAD_COND_INITIALIZER;  // there is a chunk to store, a file is done, or a thread ends
  // Numbers of files: stored, taken by a thread, added.
  size_t stored_ = 0, taken_ = 0, added_ = 0;
  Chunk* free_ = nullptr;
  size_t free_count_ = 0;
  int running_ = 0;
  bool is_ending_ = false;
};

}  // namespace atd
