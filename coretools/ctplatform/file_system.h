// Which file systems are local to this host.
#pragma once

// 1 when path lies on a network file system (NFS, SMB, AFS, Ceph, 9p and the like), else 0: also
// for a path that cannot be examined.
int ctp_is_network_path(const char *path);
// The same for a type number as statfs(2) reports it, whatever the sign it was widened with.
int ctp_is_network_type(long long type);
