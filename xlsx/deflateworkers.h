#pragma once

// Worker threads that deflate part files while they are written. The writing thread hands over
// full blocks of text through a bounded queue and gets an empty block back; workers compress
// each file's blocks in order (one worker on a file at a time) into a raw deflate stream and
// write it to the file. A file's stream depends only on its text and block boundaries, never on
// which worker ran or when.

#include <QFile>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace xlsx {

struct DeflateStream;

// CRC-32 and length of a file's text, the stream's compressed form being in the file.
struct DeflatedText
{
    std::uint32_t crc = 0;
    std::uint64_t length = 0;
};

class DeflateWorkers
{
public:
    using Block = std::unique_ptr<char[]>;

    // `level` is an archive level (1 to 10, mapped as the archive maps it); blocks are
    // `blockSize` bytes; at most `maxBlocksInFlight` full blocks wait or are in work.
    DeflateWorkers(int level, std::size_t blockSize, int workerCount = defaultWorkerCount());
    // Ends the workers; blocks still queued are dropped.
    ~DeflateWorkers();
    DeflateWorkers(const DeflateWorkers&) = delete;
    DeflateWorkers& operator=(const DeflateWorkers&) = delete;

    // One fewer than the processor's cores, at least one.
    static int defaultWorkerCount();
    std::size_t blockSize() const { return m_blockSize; }

    // A new stream into `file` (open for writing, written only by the workers from now on until
    // finish() or drop() returns).
    DeflateStream* open(QFile& file);
    // Queues `size` bytes of `block` and puts an empty block in its place, waiting while the
    // queue is full. Throws std::runtime_error with the file's error text once a write of the
    // stream failed.
    void submit(DeflateStream* stream, Block& block, std::size_t size);
    // Queues the last bytes, waits until the whole stream is in the file and releases the
    // stream. Throws as submit() does (the stream is released all the same).
    DeflatedText finish(DeflateStream* stream, Block& block, std::size_t size);
    // Drops what is queued for the stream, waits for the block in work and releases the stream.
    void drop(DeflateStream* stream);
    // Throws the error of the first stream whose write failed, if any.
    void throwIfFailed();

    // A block queued for a stream.
    struct Job
    {
        Block block;
        std::size_t size;
        bool last;
    };

private:
    void run();
    void enqueue(std::unique_lock<std::mutex>& lock, DeflateStream* stream, Block& block, std::size_t size, bool last);
    Block takeFreeBlock(std::unique_lock<std::mutex>& lock);
    void release(std::unique_lock<std::mutex>& lock, DeflateStream* stream);
    static void throwFailure(const DeflateStream& stream);

    const std::uint32_t m_igzipLevel;
    const std::size_t m_blockSize;
    const std::size_t m_maxBlocks;
    std::mutex m_mutex;
    std::condition_variable m_workReady;
    std::condition_variable m_blockDone;
    std::list<std::unique_ptr<DeflateStream>> m_streams;
    std::deque<DeflateStream*> m_readyStreams;
    std::vector<Block> m_freeBlocks;
    std::size_t m_blocksMade = 0;
    std::atomic<bool> m_failed{false};
    bool m_stopping = false;
    std::vector<std::thread> m_threads;
};

} // namespace xlsx
