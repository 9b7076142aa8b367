#include "PictureTestSupport.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <memory>
#include <stdexcept>

namespace VexilPictureTest {

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

namespace {

std::string text(const xmlChar* value) {
    return value ? std::string(reinterpret_cast<const char*>(value)) : std::string();
}

// Adds `node`, its siblings and the elements inside them to `out`, in document order;
// `groupIndices` are the places in `out` of the enclosing <g> elements.
void collect(const xmlNode* node, std::vector<SvgElement>& out, std::vector<size_t>& groupIndices) {
    for (; node; node = node->next) {
        if (node->type != XML_ELEMENT_NODE) {
            continue;
        }
        SvgElement element;
        element.tag = text(node->name);
        for (const xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
            xmlChar* value = xmlNodeListGetString(node->doc, attribute->children, 1);
            element.attributes[text(attribute->name)] = text(value);
            xmlFree(value);
        }
        for (size_t index : groupIndices) {
            for (const auto& [name, value] : out[index].attributes) {
                if (name == "class") {
                    element.groupClasses.push_back(value);
                } else {
                    element.context[name] = value;
                }
            }
        }
        if (element.tag == "text") {
            xmlChar* content = xmlNodeGetContent(node);
            element.text = text(content);
            xmlFree(content);
        }
        out.push_back(std::move(element));
        const bool isGroup = out.back().tag == "g";
        if (isGroup) {
            groupIndices.push_back(out.size() - 1);
        }
        collect(node->children, out, groupIndices);
        if (isGroup) {
            groupIndices.pop_back();
        }
    }
}

} // namespace

std::vector<SvgElement> parseSvg(const std::string& document) {
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> doc(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), "picture.svg", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    if (!doc) {
        const xmlError* error = xmlGetLastError();
        throw std::runtime_error("the SVG is not well-formed XML: " +
                                 (error && error->message ? std::string(error->message) : std::string("?")));
    }
    std::vector<SvgElement> elements;
    std::vector<size_t> groupIndices;
    collect(xmlDocGetRootElement(doc.get()), elements, groupIndices);
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
