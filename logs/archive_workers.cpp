#include "logs/archive_workers.h"

#include <sched.h>
#include <string.h>

#include <algorithm>
#include <new>

#include "platform/log.h"
#include "platform/os.h"
#include "text/scoped_lock.h"

namespace atd {

namespace {

int usable_processors() {
  cpu_set_t processors;
  return sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
}

}  // namespace

ArchiveWorkers::ArchiveWorkers(zipFile archive) : archive_(archive) {
  const int wanted = std::min(usable_processors(), kMaxThreads);
  if (wanted < 2) return;
  files_.reset(new (std::nothrow) File[kFiles]);
  chunks_.reset(new (std::nothrow) Chunk[kChunks]);
  if (!files_ || !chunks_) return;
  for (size_t i = 0; i < kChunks; ++i) give_back(&chunks_[i]);
  for (; threads_ < wanted; ++threads_) {
    Thread& thread = deflaters_[threads_];
    thread.owner = this;
    thread.stream = {};
    if (deflateInit2(&thread.stream, kZipLevel, Z_DEFLATED, -MAX_WBITS, kZipMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
      return;
    }
    if (os_start_thread(run, &thread) != 0) {
      deflateEnd(&thread.stream);
      return;
    }
    ScopedLock lock(lock_);
    ++running_;
  }
}

ArchiveWorkers::~ArchiveWorkers() {
  while (stored_ < added_) store_next();
  {
    ScopedLock lock(lock_);
    is_ending_ = true;
    pthread_cond_broadcast(&work_);
    while (running_ > 0) pthread_cond_wait(&output_, &lock_);
  }
  for (int i = 0; i < threads_; ++i) deflateEnd(&deflaters_[i].stream);
  pthread_cond_destroy(&output_);
  pthread_cond_destroy(&room_);
  pthread_cond_destroy(&work_);
  pthread_mutex_destroy(&lock_);
}

void ArchiveWorkers::add(const char* path, const char* name, const tm_zip& time) {
  if (added_ - stored_ == kFiles) store_next();
  File& added = file(added_);
  memset(&added, 0, sizeof added);
  memcpy(added.path, path, strlen(path) + 1);
  added.name_at = static_cast<size_t>(name - path);
  added.time = time;
  ScopedLock lock(lock_);
  ++added_;
  pthread_cond_signal(&work_);
}

// ---- the threads

void* ArchiveWorkers::run(void* argument) {
  Thread* thread = static_cast<Thread*>(argument);
  thread->owner->work(thread->stream);
  return nullptr;
}

void ArchiveWorkers::work(z_stream& stream) {
  for (;;) {
    File* taken;
    {
      ScopedLock lock(lock_);
      while (taken_ == added_ && !is_ending_) pthread_cond_wait(&work_, &lock_);
      if (taken_ == added_) {
        --running_;
        pthread_cond_signal(&output_);
        return;
      }
      taken = &file(taken_++);
    }
    deflate_file(stream, *taken);
    ScopedLock lock(lock_);
    taken->is_done = true;
    if (is_turn_of(*taken)) pthread_cond_signal(&output_);
  }
}

void ArchiveWorkers::deflate_file(z_stream& stream, File& from) {
  ArchiveSource source(from.path);
  from.is_open = source.is_open();
  from.is_large = source.is_large();
  deflateReset(&stream);
  uint8_t piece[kZipPieceSize];
  Chunk* chunk = nullptr;
  // The pieces are those of the plain way: with others the deflated bytes might differ.
  while (const size_t length = source.is_open() && !is_dropped(from) ? source.next(piece) : 0) {
    from.size += length;
    from.crc = crc32(from.crc, piece, static_cast<uInt>(length));
    stream.next_in = piece;
    stream.avail_in = static_cast<uInt>(length);
    deflate_piece(stream, Z_NO_FLUSH, from, chunk);
  }
  from.read_failed = source.failed();
  deflate_piece(stream, Z_FINISH, from, chunk);
  hand_over(stream, from, chunk);
}

// Deflates what the stream has to read, or to its end, and hands over the chunks that are full.
void ArchiveWorkers::deflate_piece(z_stream& stream, int flush, File& from, Chunk*& chunk) {
  int result = Z_OK;
  while (flush == Z_FINISH ? result != Z_STREAM_END : stream.avail_in > 0) {
    if (!chunk || stream.avail_out == 0) {
      if (chunk) hand_over(stream, from, chunk);
      chunk = free_chunk(from);
      stream.next_out = chunk->bytes;
      stream.avail_out = kChunkSize;
    }
    result = deflate(&stream, flush);
  }
}

ArchiveWorkers::Chunk* ArchiveWorkers::free_chunk(const File& from) {
  ScopedLock lock(lock_);
  while (free_count_ <= (is_turn_of(from) ? 0 : kKeptFree)) pthread_cond_wait(&room_, &lock_);
  Chunk* chunk = free_;
  free_ = chunk->next;
  --free_count_;
  return chunk;
}

void ArchiveWorkers::hand_over(z_stream& stream, File& from, Chunk* chunk) {
  chunk->next = nullptr;
  chunk->length = static_cast<unsigned>(kChunkSize) - stream.avail_out;
  if (!from.last) from.is_text = stream.data_type == Z_TEXT;
  ScopedLock lock(lock_);
  (from.first ? from.last->next : from.first) = chunk;
  from.last = chunk;
  if (is_turn_of(from)) pthread_cond_signal(&output_);
}

// ---- the thread that stores

// Waits for a file's next chunk; null after the last one.
ArchiveWorkers::Chunk* ArchiveWorkers::await_chunk(File& from) {
  ScopedLock lock(lock_);
  while (!from.first && !from.is_done) pthread_cond_wait(&output_, &lock_);
  Chunk* chunk = from.first;
  if (chunk) from.first = chunk->next;
  return chunk;
}

void ArchiveWorkers::give_back(Chunk* chunk) {
  ScopedLock lock(lock_);
  chunk->next = free_;
  free_ = chunk;
  ++free_count_;
  pthread_cond_broadcast(&room_);
}

bool ArchiveWorkers::is_dropped(const File& from) {
  ScopedLock lock(lock_);
  return from.is_dropped;
}

void ArchiveWorkers::drop(File& from) {
  ScopedLock lock(lock_);
  from.is_dropped = true;
}

void ArchiveWorkers::store_next() {
  File& from = file(stored_);
  Chunk* chunk = await_chunk(from);
  zip_fileinfo info = {};
  info.tmz_date = from.time;
  // minizip marks what it deflates itself as text by the same sign.
  info.internal_fa = from.is_text ? Z_TEXT : 0;
  bool is_good = zipOpenNewFileInZip4_64(archive_, from.path + from.name_at, &info, nullptr, 0, nullptr, 0, nullptr,
                                         Z_DEFLATED, kZipLevel, 1, -MAX_WBITS, kZipMemoryLevel, Z_DEFAULT_STRATEGY,
                                         nullptr, 0, 0, 0, from.is_large) == ZIP_OK;
  if (!is_good) {
    SLOGI("LOGSAVE : error in opening %s in zipfile\n", from.path);
    drop(from);
  } else if (!from.is_open) {
    SLOGI("LOGSAVE : error in opening %s for reading\n", from.path);
  }
  for (; chunk; chunk = await_chunk(from)) {
    if (is_good && zipWriteInFileInZip(archive_, chunk->bytes, chunk->length) != ZIP_OK) {
      SLOGI("LOGSAVE : error in writing %s in the zipfile\n", from.path);
      is_good = false;
      drop(from);
    }
    give_back(chunk);
  }
  if (is_good && from.read_failed) SLOGI("LOGSAVE : error in reading %s\n", from.path);
  if (is_good && zipCloseFileInZipRaw64(archive_, from.size, from.crc) != ZIP_OK) {
    SLOGI("LOGSAVE : error in closing %s in the zipfile\n", from.path);
  }
  ScopedLock lock(lock_);
  ++stored_;
  pthread_cond_broadcast(&room_);
}

}  // namespace atd
