#include "PictureTestSupport.h"

#include <cstring>
#include <regex>
#include <stdexcept>

namespace VexilPictureTest {

namespace {

std::string unescape(const std::string& text) {
    static const std::pair<const char*, char> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string out;
    for (size_t i = 0; i < text.size();) {
        bool replaced = false;
        for (const auto& [entity, c] : kEntities) {
            const size_t length = std::strlen(entity);
            if (text.compare(i, length, entity) == 0) {
                out += c;
                i += length;
                replaced = true;
                break;
            }
        }
        if (!replaced) {
            out += text[i++];
        }
    }
    return out;
}

std::map<std::string, std::string> parseAttributes(const std::string& text) {
    static const std::regex kAttribute("([A-Za-z_:][-A-Za-z0-9_:.]*)=\"([^\"]*)\"");
    std::map<std::string, std::string> attributes;
    for (std::sregex_iterator it(text.begin(), text.end(), kAttribute), end; it != end; ++it) {
        attributes[(*it)[1]] = unescape((*it)[2]);
    }
    return attributes;
}

} // namespace

std::string SvgElement::attr(const std::string& name) const {
    auto it = attributes.find(name);
    return it == attributes.end() ? std::string() : it->second;
}

double SvgElement::number(const std::string& name) const {
    const std::string text = attr(name);
    if (text.empty()) {
        throw std::runtime_error("<" + tag + "> has no attribute " + name);
    }
    return std::stod(text);
}

bool SvgElement::inGroup(const std::string& className) const {
    for (const std::string& c : groupClasses) {
        if (c == className) {
            return true;
        }
    }
    return false;
}

std::vector<SvgElement> parseSvg(const std::string& document) {
    struct Open {
        std::string tag;
        std::map<std::string, std::string> attributes;
    };
    std::vector<Open> open;
    std::vector<SvgElement> elements;
    size_t at = 0;
    while ((at = document.find('<', at)) != std::string::npos) {
        const size_t close = document.find('>', at);
        if (close == std::string::npos) {
            throw std::runtime_error("unterminated tag at " + std::to_string(at));
        }
        const std::string inside = document.substr(at + 1, close - at - 1);
        at = close + 1;
        if (inside.empty() || inside[0] == '?' || inside[0] == '!') {
            continue;
        }
        if (inside[0] == '/') {
            const std::string tag = inside.substr(1);
            if (open.empty() || open.back().tag != tag) {
                throw std::runtime_error("</" + tag + "> does not close the open element");
            }
            open.pop_back();
            continue;
        }
        const bool selfClosing = inside.back() == '/';
        const size_t nameEnd = inside.find_first_of(" /");
        SvgElement element;
        element.tag = inside.substr(0, nameEnd);
        element.attributes = parseAttributes(inside.substr(std::min(nameEnd, inside.size())));
        for (const Open& enclosing : open) {
            if (enclosing.tag != "g") {
                continue;
            }
            for (const auto& [name, value] : enclosing.attributes) {
                if (name == "class") {
                    element.groupClasses.push_back(value);
                } else {
                    element.context[name] = value;
                }
            }
        }
        if (element.tag == "text" && !selfClosing) {
            const size_t end = document.find("</text>", at);
            if (end == std::string::npos) {
                throw std::runtime_error("unterminated <text>");
            }
            element.text = unescape(document.substr(at, end - at));
            at = end + 7;
        } else if (!selfClosing) {
            open.push_back({element.tag, element.attributes});
        }
        elements.push_back(std::move(element));
    }
    if (!open.empty()) {
        throw std::runtime_error("<" + open.back().tag + "> is not closed");
    }
    return elements;
}

std::vector<const SvgElement*> select(const std::vector<SvgElement>& elements, const std::string& tag,
                                      const std::string& className,
                                      const std::map<std::string, std::string>& context) {
    std::vector<const SvgElement*> found;
    for (const SvgElement& element : elements) {
        if (element.tag != tag || element.attr("class") != className) {
            continue;
        }
        bool matches = true;
        for (const auto& [name, value] : context) {
            auto own = element.attributes.find(name);
            auto inherited = element.context.find(name);
            const std::string* actual = own != element.attributes.end()      ? &own->second
                                        : inherited != element.context.end() ? &inherited->second
                                                                             : nullptr;
            matches = matches && actual && *actual == value;
        }
        if (matches) {
            found.push_back(&element);
        }
    }
    return found;
}

Imath::V2d tripodOrigin(const std::vector<SvgElement>& elements, const std::string& view,
                        const std::string& path, const std::string& state) {
    std::vector<const SvgElement*> origins;
    for (const SvgElement* element :
         select(elements, "circle", "origin",
                {{"data-view", view}, {"data-path", path}, {"data-state", state}})) {
        if (element->inGroup("tripod")) {
            origins.push_back(element);
        }
    }
    if (origins.size() != 1) {
        throw std::runtime_error(std::to_string(origins.size()) + " tripod origins of " + path + " (" +
                                 state + ") in view " + view);
    }
    return Imath::V2d(origins[0]->number("cx"), origins[0]->number("cy"));
}

bool pngSize(const std::string& path, int& width, int& height) {
    const std::string bytes = readFile(path);
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (bytes.size() < 24 || std::memcmp(bytes.data(), kSignature, 8) != 0 ||
        bytes.compare(12, 4, "IHDR") != 0) {
        return false;
    }
    auto word = [&](size_t offset) {
        uint32_t value = 0;
        for (size_t i = 0; i < 4; ++i) {
            value = (value << 8) | static_cast<unsigned char>(bytes[offset + i]);
        }
        return static_cast<int>(value);
    };
    width = word(16);
    height = word(20);
    return true;
}

} // namespace VexilPictureTest
