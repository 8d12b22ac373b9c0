#include <velmor_core/velmor_core.h>

#include <cstdio>

constexpr uint32_t DATA = VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a');
static_assert(DATA == 0x61746164, "ids are constants, their first character in the low byte");

int main() {
  velmor_core_riff_object_t* cache = nullptr;
  if (velmor_core_riff_open_cache(64, &cache) != VELMOR_CORE_SUCCESS) return 1;
  velmor_core_riff_chunk_t* root = velmor_core_riff_object_get_virtual_root_chunk(cache);
  velmor_core_riff_chunk_add_data_chunk(root, DATA, "abc", 3);
  std::printf("data %u, version %#llx\n",
              velmor_core_riff_chunk_get_data_size(velmor_core_riff_chunk_get_child(root, 0)),
              static_cast<unsigned long long>(velmor_core_get_version()->version));
  velmor_core_riff_close(cache);
  return 0;
}
