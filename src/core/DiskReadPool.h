#pragma once

class QThreadPool;

// The worker threads that read files for the right pane: text heads, frames,
// stills, thumbnails, PDF pages. A read from a dead mount or a stalled disk
// cannot be stopped; on a pool of their own such reads never starve the
// shared pool that copies, searches and archives run on, and the pool is
// never destroyed, so leaving the program does not wait for them.
namespace DiskReadPool {

QThreadPool& instance();

} // namespace DiskReadPool
