#include "platform/Digest.h"

#include <memory>

#include <glib.h>

namespace quorlin {

std::array<std::uint8_t, 16> md5(std::string_view bytes) {
  const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> checksum(g_checksum_new(G_CHECKSUM_MD5),
                                                                        g_checksum_free);
  g_checksum_update(checksum.get(), reinterpret_cast<const guchar*>(bytes.data()),
                    static_cast<gssize>(bytes.size()));
  std::array<std::uint8_t, 16> digest{};
  gsize size = digest.size();
  g_checksum_get_digest(checksum.get(), digest.data(), &size);
  return digest;
}

}  // namespace quorlin
