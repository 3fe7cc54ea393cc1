// Which file systems are local to this host.
#pragma once

// True if the path lies on a network file system (NFS, SMB, AFS, Ceph, 9p and the like). False also
// for a path that cannot be examined.
bool ctp_is_network_path(const char *path);

// The same for a type number as statfs(2) reports it, whatever sign it was widened with.
bool ctp_is_network_type(long long type);
