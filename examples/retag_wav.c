/* Gives a WAV file a new title, in place: retag_wav FILE TITLE
 *
 * The title is the chunk INAM in the group LIST:INFO; both are added where they are missing. Sound
 * that lies behind the title moves, the rest of the file is left alone.
 */
#include <stdio.h>
#include <string.h>
#include <velmor_core/velmor_core.h>

#define ID_RIFF VELMOR_CORE_RIFF_ID('R', 'I', 'F', 'F')
#define ID_LIST VELMOR_CORE_RIFF_ID('L', 'I', 'S', 'T')
#define ID_WAVE VELMOR_CORE_RIFF_ID('W', 'A', 'V', 'E')
#define ID_INFO VELMOR_CORE_RIFF_ID('I', 'N', 'F', 'O')
#define ID_INAM VELMOR_CORE_RIFF_ID('I', 'N', 'A', 'M')

/* The first child with these ids; a group id of 0 stands for a data chunk. Null if there is none.
 */
static velmor_core_riff_chunk_t* find_child(velmor_core_riff_chunk_t* group, uint32_t id,
                                            uint32_t group_id) {
  velmor_core_riff_chunk_t* chunk = velmor_core_riff_chunk_get_child(group, 0);
  while (chunk && (velmor_core_riff_chunk_get_id(chunk) != id ||
                   velmor_core_riff_chunk_get_group_id(chunk) != group_id)) {
    chunk = velmor_core_riff_chunk_get_next(chunk);
  }
  return chunk;
}

/* Texts in LIST:INFO are stored with the NUL at their end. */
static int set_title(velmor_core_riff_object_t* file, const char* title) {
  const uint32_t size = (uint32_t)strlen(title) + 1;
  velmor_core_riff_chunk_t* root = velmor_core_riff_object_get_virtual_root_chunk(file);
  velmor_core_riff_chunk_t* wave = find_child(root, ID_RIFF, ID_WAVE);
  if (!wave) return VELMOR_CORE_FAILURE;

  velmor_core_riff_chunk_t* info = find_child(wave, ID_LIST, ID_INFO);
  if (!info) info = velmor_core_riff_chunk_add_group_chunk(wave, ID_LIST, ID_INFO);
  velmor_core_riff_chunk_t* name = find_child(info, ID_INAM, 0);
  if (!name) name = velmor_core_riff_chunk_add_data_chunk(info, ID_INAM, NULL, size);

  /* A null handle, left by an addition that failed, fails here. */
  const int32_t status = velmor_core_riff_chunk_set_data_size(name, size);
  return status ? status : velmor_core_riff_chunk_set_data(name, title, size, 0);
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: retag_wav FILE TITLE\n");
    return 2;
  }
  velmor_core_riff_object_t* file = NULL;
  if (velmor_core_riff_open_file(argv[1], VELMOR_CORE_RIFF_READ_WRITE, &file)) {
    fprintf(stderr, "%s: not a RIFF file that can be written\n", argv[1]);
    return 1;
  }
  const int status = set_title(file, argv[2]);
  velmor_core_riff_close(file);
  if (status) fprintf(stderr, "%s: the title cannot be set\n", argv[1]);
  return status ? 1 : 0;
}
