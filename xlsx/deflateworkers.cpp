#include "deflateworkers.h"

#include "igziplevel.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <stdexcept>

namespace xlsx {

namespace {

// Room for what one block deflates to in one call; larger output is taken in several.
constexpr std::size_t OutputSize = 256 * 1024;

} // namespace

struct DeflateStream
{
    QFile* file = nullptr;
    isal_zstream zstream{};
    std::unique_ptr<std::uint8_t[]> levelBuffer;
    DeflatedText text;
    // Guarded by the workers' mutex:
    std::deque<DeflateWorkers::Job> pending;
    bool busy = false;
    bool queued = false;
    std::string failure;
};

namespace {

// Compresses one block into the stream's file; returns the error text of a failure.
std::string compressBlock(DeflateStream& stream, const char* data, std::size_t size, bool last, std::uint8_t* output)
{
    stream.text.crc = crc32_gzip_refl(stream.text.crc, reinterpret_cast<const unsigned char*>(data), size);
    stream.text.length += size;
    isal_zstream& z = stream.zstream;
    z.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(data));
    z.avail_in = static_cast<std::uint32_t>(size);
    z.end_of_stream = last ? 1 : 0;
    do {
        z.next_out = output;
        z.avail_out = OutputSize;
        if (isal_deflate(&z) != COMP_OK)
            return "Could not compress worksheet data";
        const char* produced = reinterpret_cast<const char*>(output);
        auto remaining = static_cast<qint64>(OutputSize - z.avail_out);
        // A write cut short (a file size limit, a full disk) has not yet set an error; writing
        // the rest makes the device report why.
        while (remaining > 0) {
            const qint64 written = stream.file->write(produced, remaining);
            if (written <= 0)
                return stream.file->errorString().toStdString();
            produced += written;
            remaining -= written;
        }
    } while (z.avail_in > 0 || z.avail_out == 0 || (last && z.internal_state.state != ZSTATE_END));
    return {};
}

} // namespace

DeflateWorkers::DeflateWorkers(int level, std::size_t blockSize, int workerCount)
    : m_igzipLevel(igzipLevelFor(level))
    , m_blockSize(blockSize)
    , m_maxBlocks(2 * static_cast<std::size_t>(workerCount) + 2)
{
    for (int i = 0; i < workerCount; ++i)
        m_threads.emplace_back([this] { run(); });
}

DeflateWorkers::~DeflateWorkers()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_workReady.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

int DeflateWorkers::defaultWorkerCount()
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()) - 1);
}

DeflateStream* DeflateWorkers::open(QFile& file)
{
    auto stream = std::make_unique<DeflateStream>();
    const std::uint32_t levelBufferSize = igzipLevelBufferSize(m_igzipLevel);
    stream->file = &file;
    stream->levelBuffer.reset(new std::uint8_t[levelBufferSize]);
    isal_deflate_init(&stream->zstream);
    stream->zstream.level = m_igzipLevel;
    stream->zstream.level_buf = stream->levelBuffer.get();
    stream->zstream.level_buf_size = levelBufferSize;
    stream->zstream.gzip_flag = IGZIP_DEFLATE;
    stream->zstream.flush = NO_FLUSH;
    const std::lock_guard lock(m_mutex);
    m_streams.push_back(std::move(stream));
    return m_streams.back().get();
}

void DeflateWorkers::submit(DeflateStream* stream, Block& block, std::size_t size)
{
    std::unique_lock lock(m_mutex);
    throwFailure(*stream);
    enqueue(lock, stream, block, size, false);
}

DeflatedText DeflateWorkers::finish(DeflateStream* stream, Block& block, std::size_t size)
{
    std::unique_lock lock(m_mutex);
    if (stream->failure.empty())
        enqueue(lock, stream, block, size, true);
    m_blockDone.wait(lock, [stream] { return stream->pending.empty() && !stream->busy; });
    const std::string failure = stream->failure;
    const DeflatedText text = stream->text;
    release(lock, stream);
    if (!failure.empty())
        throw std::runtime_error(failure);
    return text;
}

void DeflateWorkers::drop(DeflateStream* stream)
{
    std::unique_lock lock(m_mutex);
    for (Job& job : stream->pending)
        m_freeBlocks.push_back(std::move(job.block));
    stream->pending.clear();
    std::erase(m_readyStreams, stream);
    stream->queued = false;
    m_blockDone.notify_all();
    m_blockDone.wait(lock, [stream] { return !stream->busy; });
    release(lock, stream);
}

void DeflateWorkers::throwIfFailed()
{
    if (!m_failed.load(std::memory_order_relaxed))
        return;
    const std::lock_guard lock(m_mutex);
    for (const auto& stream : m_streams)
        throwFailure(*stream);
}

void DeflateWorkers::enqueue(std::unique_lock<std::mutex>& lock, DeflateStream* stream, Block& block, std::size_t size,
    bool last)
{
    stream->pending.push_back({std::move(block), size, last});
    if (!stream->busy && !stream->queued) {
        stream->queued = true;
        m_readyStreams.push_back(stream);
        m_workReady.notify_one();
    }
    block = takeFreeBlock(lock);
}

DeflateWorkers::Block DeflateWorkers::takeFreeBlock(std::unique_lock<std::mutex>& lock)
{
    if (m_freeBlocks.empty() && m_blocksMade < m_maxBlocks) {
        ++m_blocksMade;
        return Block(new char[m_blockSize]);
    }
    m_blockDone.wait(lock, [this] { return !m_freeBlocks.empty(); });
    Block block = std::move(m_freeBlocks.back());
    m_freeBlocks.pop_back();
    return block;
}

void DeflateWorkers::release(std::unique_lock<std::mutex>&, DeflateStream* stream)
{
    std::erase(m_readyStreams, stream);
    m_streams.remove_if([stream](const auto& owned) { return owned.get() == stream; });
}

void DeflateWorkers::throwFailure(const DeflateStream& stream)
{
    if (!stream.failure.empty())
        throw std::runtime_error(stream.failure);
}

void DeflateWorkers::run()
{
    const std::unique_ptr<std::uint8_t[]> output(new std::uint8_t[OutputSize]);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_workReady.wait(lock, [this] { return m_stopping || !m_readyStreams.empty(); });
        if (m_stopping)
            return;
        DeflateStream* stream = m_readyStreams.front();
        m_readyStreams.pop_front();
        stream->queued = false;
        stream->busy = true;
        Job job = std::move(stream->pending.front());
        stream->pending.pop_front();
        const bool skip = !stream->failure.empty();

        lock.unlock();
        std::string failure = skip ? std::string() : compressBlock(*stream, job.block.get(), job.size, job.last, output.get());
        lock.lock();

        if (!failure.empty()) {
            stream->failure = std::move(failure);
            m_failed = true;
        }
        m_freeBlocks.push_back(std::move(job.block));
        stream->busy = false;
        if (!stream->pending.empty()) {
            stream->queued = true;
            m_readyStreams.push_back(stream);
        }
        m_blockDone.notify_all();
    }
}

} // namespace xlsx
