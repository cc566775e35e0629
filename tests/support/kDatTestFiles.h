/**
 * @file    kDatTestFiles.h
 * @brief   Test helpers for kdat files: deliberately plain reference checksums, a payload
 *          builder and a file builder, so that tests can state exact bytes and craft damaged
 *          content with valid checksums.
 */
#ifndef K_DAT_TEST_FILES_H
#define K_DAT_TEST_FILES_H

#include <kBasis.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace ktest
{
typedef std::vector<kByte> Bytes;

/** CRC-32 (IEEE, reflected, as zlib computes it), one bit at a time. */
inline k32u ReferenceCrc32(const kByte* data, size_t size)
{
    k32u crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < size; ++i)
    {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

/** The payload checksum straight from its definition: A = Σ w[i], B = Σ (N - i)·w[i]. */
inline void ReferenceChecksum(const Bytes& payload, k64u* a, k64u* b)
{
    size_t n = (payload.size() + 7) / 8;
    *a = *b = 0;
    for (size_t i = 0; i < n; ++i)
    {
        k64u w = 0;
        for (size_t k = 0; k < 8 && 8 * i + k < payload.size(); ++k)
            w |= (k64u)payload[8 * i + k] << (8 * k);
        *a += w;
        *b += (k64u)(n - i) * w;
    }
}

/** Little-endian payload builder. */
struct Payload
{
    Bytes bytes;
    Payload& U8(k8u v) { return Raw(&v, 1); }
    Payload& U32(k32u v) { return Le(v, 4); }
    Payload& U64(k64u v) { return Le(v, 8); }
    Payload& Text(const std::string& s)
    {
        U32((k32u)s.size());
        return Raw(s.data(), s.size());
    }
    Payload& Raw(const void* p, size_t n)
    {
        const kByte* b = static_cast<const kByte*>(p);
        bytes.insert(bytes.end(), b, b + n);
        return *this;
    }
    Payload& Le(k64u v, int n)
    {
        for (int i = 0; i < n; ++i)
            bytes.push_back((kByte)(v >> (8 * i)));
        return *this;
    }
    /** A value type's definition (TypeRef with a new index). */
    Payload& ValueType(k32u index, const std::string& name, k32u size)
    {
        return U32(index).U8(2).Text(name).U32(size);
    }
    /** A class-with-version definition, as an object record's type. */
    Payload& ObjectType(k32u index, const std::string& name, const std::string& version)
    {
        return U32(index).U8(3).Text(name).Text(version);
    }
};

/** A whole file: file header and one uncompressed frame around payload. */
inline Bytes MakeDatFile(k32u format, const Bytes& payload)
{
    Payload file;
    const kByte magic[8] = {'k', 'D', 'A', 'T', 0x0D, 0x0A, 0x1A, 0x0A};
    file.Raw(magic, 8).U32(format).U32(0);
    k64u a = 0, b = 0;
    ReferenceChecksum(payload, &a, &b);
    size_t header = file.bytes.size();
    file.Raw("FRAM", 4).U32(0).U64(payload.size()).U64(payload.size()).U64(a).U64(b).U32(0);
    file.U32(ReferenceCrc32(file.bytes.data() + header, 44));
    file.Raw(payload.data(), payload.size());
    return file.bytes;
}

inline Bytes ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteBytes(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), (std::streamsize)bytes.size());
}

/** True for the three statuses a loader gives bad content. */
inline bool IsContentFailure(kStatus status)
{
    return status == kSTATUS_BAD_FORMAT || status == kSTATUS_INCOMPLETE ||
           status == kSTATUS_BAD_VERSION;
}
} // namespace ktest

#endif
