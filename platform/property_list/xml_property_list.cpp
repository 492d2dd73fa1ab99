#include <expat.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/owned.h"
#include "platform/property_list/property_list_forms.h"
#include "platform/text.h"

namespace velunor {
namespace {

/// Builds the value from what the XML parser tells. The first objection ends the parsing.
class XmlBuilder {
  public:
    explicit XmlBuilder(XmlEncoding encoding)
        : parser_(XML_ParserCreate(encoding == XmlEncoding::utf8 ? "UTF-8" : nullptr)) {
        if (parser_ == nullptr) {
            objection_ = "cannot be read, memory is short";
            return;
        }
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), onOpeningTag, onClosingTag);
        XML_SetCharacterDataHandler(parser_.get(), onText);
        XML_SetStartDoctypeDeclHandler(parser_.get(), onDocumentType);
        XML_SetProcessingInstructionHandler(parser_.get(), onInstruction);
        // Else an entity that an outer document type may define would vanish without a word.
        XML_SetSkippedEntityHandler(parser_.get(), onUnknownEntity);
    }

    Expected<PropertyListValue> run(std::string_view text) {
        if (objection_.empty() &&
            XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) !=
                XML_STATUS_OK) {
            objectTo(XML_GetErrorCode(parser_.get()), text);
        } else if (objection_.empty() && !top_) {
            object("is malformed: it holds no value");
        }
        if (!objection_.empty()) {
            return Error{"XML property list " + objection_};
        }
        return *std::move(top_);
    }

  private:
    /// An array or dictionary that is not closed yet, with the key that waits for its value.
    struct Open {
        PropertyListValue value;
        std::optional<std::string> key;
    };

    static XmlBuilder& self(void* data) { return *static_cast<XmlBuilder*>(data); }

    static void onOpeningTag(void* data, const char* name, const char** attributes) noexcept {
        self(data).takeOpeningTag(name, attributes);
    }

    static void onClosingTag(void* data, const char* name) noexcept {
        // The parser still tells of the end of an empty tag that was objected to.
        if (self(data).objection_.empty()) {
            self(data).takeClosingTag(name);
        }
    }

    static void onText(void* data, const char* text, int length) noexcept {
        self(data).takeText({text, static_cast<std::size_t>(length)});
    }

    static void onDocumentType(void* data, const char* /*name*/, const char* /*system*/,
                               const char* /*publicId*/, int hasInternalSubset) noexcept {
        if (hasInternalSubset != 0) {
            self(data).object("defines a document type of its own");
        }
    }

    static void onInstruction(void* data, const char* /*target*/, const char* content) noexcept {
        // Readers differ on where such an instruction ends.
        const std::string_view text(content);
        if (std::count(text.begin(), text.end(), '"') % 2 != 0) {
            self(data).object("has an instruction with an open quotation");
        }
    }

    static void onUnknownEntity(void* data, const char* /*name*/, int /*isParameter*/) noexcept {
        self(data).object("is malformed: it has an entity that is not defined");
    }

    void object(std::string reason) {
        if (objection_.empty()) {
            objection_ = std::move(reason) + " on line " +
                         std::to_string(XML_GetCurrentLineNumber(parser_.get()));
            XML_StopParser(parser_.get(), XML_FALSE);
        }
    }

    void objectTo(XML_Error error, std::string_view text) {
        switch (error) {
            case XML_ERROR_NO_ELEMENTS:
                return object("ends too early");
            case XML_ERROR_UNCLOSED_TOKEN:
                return object("ends inside of a tag");
            case XML_ERROR_TAG_MISMATCH:
                return object("closes what is not open");
            case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
                return object("has more than one top level");
            case XML_ERROR_INVALID_TOKEN:
                if (!isValidUtf8(text)) {
                    return object("is neither valid UTF-8 nor of the encoding that it declares");
                }
                [[fallthrough]];
            default:
                return object(std::string("is malformed: ") + XML_ErrorString(error));
        }
    }

    void takeOpeningTag(std::string_view name, const char** attributes) {
        if (++values_ > mostPropertyListValues) {
            return object("holds too many values");
        }
        for (; *attributes != nullptr; ++attributes) {
            // Readers differ on where such a tag ends.
            if (std::string_view(*attributes).find('>') != std::string_view::npos) {
                return object("has an unexpected tag");
            }
        }
        const bool isInDictionary = !open_.empty() && open_.back().value.dictionary() != nullptr;
        if (!leaf_.empty() || (name == "key" && !isInDictionary)) {
            return object("has an unexpected tag");
        }
        if (name == "plist") {
            if (values_ > 1) {
                object("has more than one top level");
            }
        } else if (name == "key" || xmlLeafReader(name) != nullptr) {
            leaf_ = name;
        } else if (name != "array" && name != "dict") {
            object("has an unexpected tag");
        } else if (open_.size() >= deepestPropertyList) {
            object("is nested too deeply");
        } else if (name == "array") {
            open_.push_back({{PropertyListArray()}, {}});
        } else {
            open_.push_back({{PropertyListDictionary()}, {}});
        }
    }

    void takeText(std::string_view text) {
        if (!leaf_.empty()) {
            text_ += text;
        } else if (text.find_first_not_of(xmlBlanks) != std::string_view::npos) {
            object("has text outside of a value");
        }
    }

    void takeClosingTag(std::string_view name) {
        const std::string text = std::exchange(text_, {});
        if (name == "key") {
            takeKey(text);
        } else if (!leaf_.empty()) {
            auto value = xmlLeafReader(name)(text);
            if (value) {
                add(*std::move(value));
            } else {
                object("is malformed: the content of <" + leaf_ + "> is not of its type");
            }
        } else if (name != "plist") {
            Open closed = std::move(open_.back());
            open_.pop_back();
            if (closed.key) {
                object("is malformed: a key has no value");
            } else {
                add(std::move(closed.value));
            }
        }
        leaf_.clear();
    }

    void takeKey(const std::string& text) {
        if (open_.back().key) {
            object("is malformed: a key has no value");
        } else {
            open_.back().key = text;
        }
    }

    /// Puts the value where it belongs. The last of two equal keys counts.
    void add(PropertyListValue value) {
        if (open_.empty()) {
            if (top_) {
                object("has more than one top level");
            }
            top_ = std::move(value);
        } else if (auto* elements = std::get_if<PropertyListArray>(&open_.back().value.value)) {
            elements->push_back(std::move(value));
        } else if (auto key = std::exchange(open_.back().key, std::nullopt)) {
            std::get<PropertyListDictionary>(open_.back().value.value)
                .insert_or_assign(*std::move(key), std::move(value));
        } else {
            object("is malformed: a value has no key");
        }
    }

    Owned<XML_ParserStruct, XML_ParserFree> parser_;
    std::size_t values_ = 0;
    /// Outermost first.
    std::vector<Open> open_;
    /// The open tag that holds text and its text so far; no name outside of one.
    std::string leaf_;
    std::string text_;
    std::optional<PropertyListValue> top_;
    std::string objection_;
};

}  // namespace

Expected<PropertyListValue> parseXmlPropertyList(std::string_view text, XmlEncoding encoding) {
    if (text.find('\0') != std::string_view::npos) {
        return Error{"XML property list holds a NUL character"};
    }
    if (std::count(text.begin(), text.end(), '&') > std::ptrdiff_t{mostPropertyListValues}) {
        return Error{"XML property list holds too many entities"};
    }
    return XmlBuilder(encoding).run(text);
}

}  // namespace velunor
