// Which file systems are local to this host.
#pragma once

// 1 when path lies on a network file system (NFS, SMB, AFS, Ceph, 9p and the like), else 0.
int ctp_is_network_path(const char *path);
