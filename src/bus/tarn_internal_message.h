#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bus/name_query.h"
#include "bus/tarn_internal_header.h"
#include "util/json.h"
#include "util/json_text.h"

struct MallocDeleter {
    void operator()(char* text) const { std::free(text); }
};
// A NUL-terminated text from malloc.
using MallocText = std::unique_ptr<char, MallocDeleter>;

// The outcome of a request in its response.
struct ResponseStatus {
    std::string id;  // of the request
    std::string requestCommand;
    int statusCode = 0;
    std::string statusMsg;
};

// One exchange on the bus: a header line and a JSON data object. Made by a constructor of its kind
// (messages.h), decoded from received bytes, or loaded from a file. Data that was received is kept
// as text and parsed at the first use. Used by one thread at a time; the readers are const
// but fill caches.
class TarnInternalMessage {
  public:
    // Without type, object and data.
    TarnInternalMessage() = default;
    // Returns the memory of a large message to the system.
    virtual ~TarnInternalMessage();

    // The payload text: the header line and the data without any white space. Throws std::bad_alloc
    // when there is no memory for it.
    virtual std::string encode() const;
    // The size in bytes of data that was made here; 0 for data that was received.
    std::size_t madeDataSize() const { return madeData_.size(); }

    // Decodes a received payload, which ends in NUL; one that does not is said on standard error
    // and gets one. Throws std::runtime_error when the payload has no valid header line.
    explicit TarnInternalMessage(std::unique_ptr<std::vector<char>> payload);
    // Decodes a payload without throwing: one that has no valid header line leaves type() none.
    explicit TarnInternalMessage(MallocText payload);

    // The message in a received or recorded payload, with or without its NUL. Neither this nor the
    // message logs anything. Empty when there is no payload or it has no valid header line.
    static std::optional<TarnInternalMessage> tryDecode(std::unique_ptr<std::vector<char>> payload);
    static std::optional<TarnInternalMessage> tryDecode(std::string_view payload);

    // The header is copied; the source loses everything else.
    TarnInternalMessage(TarnInternalMessage&& other);
    TarnInternalMessage& operator=(TarnInternalMessage&& other);
    TarnInternalMessage(const TarnInternalMessage&) = delete;
    TarnInternalMessage& operator=(const TarnInternalMessage&) = delete;

    const TarnInternalHeader& header() const { return header_; }
    TarnInternalHeader& header() { return header_; }
    MessageType type() const { return header_.type; }
    const std::string& objectName() const { return header_.objectName; }
    int32_t source() const { return header_.source; }

    // The data, borrowed and kept until the message goes. A JSON null when there is none or its
    // text does not parse; never a null pointer while there is memory. Text of more than 50,000
    // items, or with an "id" of more than 64 KiB, counts as one that does not parse.
    const cJSON* data() const;
    // The same, given to the caller; the message then has none.
    util::UniqueJSON takeData();

    // The names that a GET lists in its data. Valid as long as the message, until takeData().
    const lumo::NameQuery& nameQuery() const;

    // The text of data "id", empty when it has none.
    const std::string& uniqueId() const;
    // Data "statusCode" when it is one of the defined codes, otherwise 0.
    int statusCode() const;
    // Data "seq" as (number of this part, number of parts); zeros for anything else.
    std::pair<int32_t, int32_t> sequence() const;
    // Throws std::runtime_error that names what is missing or of the wrong type.
    ResponseStatus responseStatus() const;

    // Keeps the payload in a file of the directory, named after the scheduled time. A failure is
    // logged.
    void save(const std::string& directory);
    // Becomes the message in the file. False, after a log line, when there is no valid one; this
    // message is then unchanged.
    bool load(const std::string& path);
    // Deletes the file of the last save or load. False when there was none or it stays.
    bool remove();
    // The file of the last save or load, empty before.
    const std::string& filePath() const { return filePath_; }

  protected:
    // A new message with the data {"id": uniqueId}.
    TarnInternalMessage(MessageType type, std::string objectName, std::string uniqueId,
                        int32_t destination = 0);
    // Each appends a member to the data of a new message. The key needs no escapes, any name does.
    void addWord(std::string_view key, std::string_view word);  // that needs no escapes, too
    void addText(std::string_view key, std::string_view text);
    void addNumber(std::string_view key, int number);
    void addMember(std::string_view key, std::string_view name, const util::JSONText& value);
    // The same with any key. A null item is left out.
    void addData(std::string_view key, util::UniqueJSON item);

  private:
    enum class DecodeFailure { none, noHeader, invalidHeader };

    DecodeFailure decode(char* payload);
    bool decodeOrLog(char* payload);
    void parseOnce() const;
    void beginMember();

    bool logging_ = true;             // whether its faults are logged when they are found
    std::string madeData_;            // of a new message, as text
    const char* dataText_ = nullptr;  // of a received message, inside the payload
    MallocText text_;                 // the payload, one of these two
    std::unique_ptr<std::vector<char>> rawBuffer_;
    mutable util::UniqueJSON data_;
    TarnInternalHeader header_;
    mutable std::string uniqueId_;
    mutable std::optional<lumo::NameQuery> nameQuery_;
    std::string filePath_;
};
