/* Uses each family once; a switch label needs the ids to be constants. */
#include <stdio.h>
#include <velmor_core/velmor_core.h>

static const char* nameOf(uint32_t id) {
  switch (id) {
    case VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'):
      return "data";
    default:
      return "other";
  }
}

int main(void) {
  velmor_core_riff_object_t* cache = NULL;
  velmor_core_riff_chunk_t* chunk;
  velmor_core_init();
  if (velmor_core_riff_open_cache(64, &cache) != VELMOR_CORE_SUCCESS) return 1;
  chunk =
      velmor_core_riff_chunk_add_data_chunk(velmor_core_riff_object_get_virtual_root_chunk(cache),
                                            VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'), "abc", 3);
  printf("%s %u, version %#llx\n", nameOf(velmor_core_riff_chunk_get_id(chunk)),
         (unsigned)velmor_core_riff_chunk_get_data_size(chunk),
         (unsigned long long)velmor_core_get_version()->version);
  velmor_core_riff_close(cache);
  velmor_core_fini();
  return velmor_core_cpu_get_count() > 0 && velmor_core_memory_get_physical_size() > 0 ? 0 : 1;
}
