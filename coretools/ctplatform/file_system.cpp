// Local and network file systems, distinguished by their type numbers.
#include "coretools/ctplatform/file_system.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include <linux/magic.h>
#include <sys/statfs.h>

namespace {

// Not in linux/magic.h: their file systems live outside the kernel's own tree.
constexpr std::uint32_t BEEGFS_SUPER_MAGIC = 0x19830326;
constexpr std::uint32_t GPFS_SUPER_MAGIC = 0x47504653;
constexpr std::uint32_t LUSTRE_SUPER_MAGIC = 0x0bd00bd0;
constexpr std::uint32_t ORANGEFS_SUPER_MAGIC = 0x20030528;

constexpr std::uint32_t NETWORK_TYPES[] = {
    NFS_SUPER_MAGIC,    SMB_SUPER_MAGIC,  CIFS_SUPER_MAGIC,   SMB2_SUPER_MAGIC,     AFS_SUPER_MAGIC,
    AFS_FS_MAGIC,       CODA_SUPER_MAGIC, CEPH_SUPER_MAGIC,   V9FS_MAGIC,           NCP_SUPER_MAGIC,
    BEEGFS_SUPER_MAGIC, GPFS_SUPER_MAGIC, LUSTRE_SUPER_MAGIC, ORANGEFS_SUPER_MAGIC,
};

} // namespace

bool ctp_is_network_type(long long type) {
    return std::ranges::count(NETWORK_TYPES, static_cast<std::uint32_t>(type)) != 0;
}

bool ctp_is_network_path(const char *path) {
    struct statfs status {};
    if (path == nullptr) {
        return false;
    }
    while (statfs(path, &status) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return ctp_is_network_type(static_cast<long long>(status.f_type));
}
