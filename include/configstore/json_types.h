#pragma once

/// The JSON types that appear in signatures, declared and not defined: a client
/// that works with JSON texts needs no JSON library of its own.

namespace rapidjson {

template <typename CharType>
struct UTF8;
template <typename BaseAllocator>
class MemoryPoolAllocator;
template <typename Encoding, typename Allocator>
class GenericValue;
template <typename Encoding, typename Allocator, typename StackAllocator>
class GenericDocument;

}  // namespace rapidjson

namespace OrvoConfigStore {

class JsonHeap;
using JsonAllocator = rapidjson::MemoryPoolAllocator<JsonHeap>;
using JsonValue = rapidjson::GenericValue<rapidjson::UTF8<char>, JsonAllocator>;
using JsonDocument = rapidjson::GenericDocument<rapidjson::UTF8<char>, JsonAllocator, JsonHeap>;

}  // namespace OrvoConfigStore
