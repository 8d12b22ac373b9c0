/* Gives a WAV file a new title: retag_wav FILE TITLE
 *
 * FILE itself is never edited. The program copies it to the same folder, edits the copy, writes it
 * to disk with fsync(), and renames it over FILE. So FILE is always complete, either the old file
 * or the new one, even if the disk is full, the power fails or the process is killed. If the
 * process is killed, the copy can remain, as FILE.XXXXXX.
 *
 * The title is the chunk INAM in the group LIST:INFO. Both are added where they are missing.
 */
#define _XOPEN_SOURCE 700 /* NOLINT: POSIX defines this name */

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <velmor_core/velmor_core.h>

#define ID_RIFF VELMOR_CORE_RIFF_ID('R', 'I', 'F', 'F')
#define ID_LIST VELMOR_CORE_RIFF_ID('L', 'I', 'S', 'T')
#define ID_WAVE VELMOR_CORE_RIFF_ID('W', 'A', 'V', 'E')
#define ID_INFO VELMOR_CORE_RIFF_ID('I', 'N', 'F', 'O')
#define ID_INAM VELMOR_CORE_RIFF_ID('I', 'N', 'A', 'M')

/* The first child with these ids, null if there is none. A data chunk has the group id 0. */
static velmor_core_riff_chunk_t* find_child(velmor_core_riff_chunk_t* group, uint32_t id,
                                            uint32_t group_id) {
  velmor_core_riff_chunk_t* chunk = velmor_core_riff_chunk_get_child(group, 0);
  while (chunk && (velmor_core_riff_chunk_get_id(chunk) != id ||
                   velmor_core_riff_chunk_get_group_id(chunk) != group_id)) {
    chunk = velmor_core_riff_chunk_get_next(chunk);
  }
  return chunk;
}

/* Texts in LIST:INFO are stored with a NUL at their end. */
static int set_title(velmor_core_riff_object_t* file, const char* title) {
  const size_t size = strlen(title) + 1;
  velmor_core_riff_chunk_t* root = velmor_core_riff_object_get_virtual_root_chunk(file);
  velmor_core_riff_chunk_t* wave = find_child(root, ID_RIFF, ID_WAVE);
  if (!wave) return VELMOR_CORE_FAILURE;

  /* The group has to stay below 4 GiB. Besides the title, the edit adds at most a group header
   * (12), a chunk header (8) and a pad byte (1). */
  const uint64_t largest = velmor_core_riff_chunk_get_data_size(wave) + (uint64_t)size + 12 + 8 + 1;
  if (largest > UINT32_MAX) return VELMOR_CORE_FAILURE;

  velmor_core_riff_chunk_t* info = find_child(wave, ID_LIST, ID_INFO);
  if (!info) info = velmor_core_riff_chunk_add_group_chunk(wave, ID_LIST, ID_INFO);
  velmor_core_riff_chunk_t* name = find_child(info, ID_INAM, 0);
  if (!name) name = velmor_core_riff_chunk_add_data_chunk(info, ID_INAM, NULL, (uint32_t)size);

  /* If adding has failed, name is null, and this call fails. */
  const int32_t status = velmor_core_riff_chunk_set_data_size(name, (uint32_t)size);
  return status ? status : velmor_core_riff_chunk_set_data(name, title, (uint32_t)size, 0);
}

static const char* edit(const char* path, const char* title) {
  velmor_core_riff_object_t* file = NULL;
  if (velmor_core_riff_open_file(path, VELMOR_CORE_RIFF_READ_WRITE, &file)) return "no RIFF file";
  const int status = set_title(file, title);
  velmor_core_riff_close(file);
  return status ? "the title cannot be set" : NULL;
}

static int write_all(int to, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t written = write(to, bytes, size);
    if (written < 0 && errno != EINTR) return -1;
    if (written > 0) {
      bytes += written;
      size -= (size_t)written;
    }
  }
  return 0;
}

/* Copies bytes and permission bits. */
static int copy_file(const char* path, int to) {
  char block[65536];
  struct stat facts;
  ssize_t count;
  const int from = open(path, O_RDONLY | O_CLOEXEC);
  if (from < 0) return -1;
  do {
    count = read(from, block, sizeof block);
    if (count > 0 && write_all(to, block, (size_t)count)) break;
  } while (count > 0 || (count < 0 && errno == EINTR));
  const int status = count == 0 && fstat(from, &facts) == 0 ? fchmod(to, facts.st_mode) : -1;
  close(from);
  return status;
}

/* A rename is safe on disk only after fsync() of the folder. */
static int sync_folder(const char* absolute_path) {
  const size_t length = (size_t)(strrchr(absolute_path, '/') - absolute_path);
  char* folder = length ? strndup(absolute_path, length) : strdup("/");
  const int fd = folder ? open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
  const int status = fd < 0 ? -1 : fsync(fd);
  if (fd >= 0) close(fd);
  free(folder);
  return status;
}

/* `copy` is a template for mkstemp(). Returns the reason of a failure, or null. */
static const char* replace(const char* path, char* copy, const char* title) {
  const char* reason = NULL;
  const int fd = mkstemp(copy);
  if (fd < 0) return strerror(errno);
  if (copy_file(path, fd)) reason = strerror(errno);
  if (!reason) reason = edit(copy, title);
  if (!reason && (fsync(fd) || rename(copy, path))) reason = strerror(errno);
  if (reason) unlink(copy);
  close(fd);
  if (!reason && sync_folder(path)) reason = strerror(errno);
  return reason;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: retag_wav FILE TITLE\n");
    return 2;
  }
  /* If FILE is a symbolic link, this replaces its target, not the link. */
  char* path = realpath(argv[1], NULL);
  char* copy = path ? malloc(strlen(path) + sizeof ".XXXXXX") : NULL;
  const char* reason = strerror(errno);
  if (copy) {
    sprintf(copy, "%s.XXXXXX", path);
    reason = replace(path, copy, argv[2]);
  }
  if (reason) fprintf(stderr, "%s: %s\n", argv[1], reason);
  free(copy);
  free(path);
  return reason ? 1 : 0;
}
