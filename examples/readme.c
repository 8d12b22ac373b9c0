/* Lists the chunks of a RIFF file: readme FILE */
#include <stdio.h>
#include <velmor_core/velmor_core.h>

int main(int argc, char** argv) {
  velmor_core_riff_object_t* file;
  if (argc < 2 || velmor_core_riff_open_file(argv[1], VELMOR_CORE_RIFF_READ_ONLY, &file)) return 1;
  velmor_core_riff_chunk_t* riff = velmor_core_riff_object_get_root_chunk(file);
  velmor_core_riff_chunk_t* chunk = velmor_core_riff_chunk_get_child(riff, 0);
  for (; chunk; chunk = velmor_core_riff_chunk_get_next(chunk)) {
    const uint32_t id = velmor_core_riff_chunk_get_id(chunk);
    printf("%.4s %u\n", (const char*)&id, velmor_core_riff_chunk_get_data_size(chunk));
  }
  velmor_core_riff_close(file);
  return 0;
}
