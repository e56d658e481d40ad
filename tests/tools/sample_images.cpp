#include "tools/sample_images.h"

#include <stdexcept>

#include "dom/names.h"

namespace Parsers::ImageTesting {

std::uint32_t paragraphTagId()
{
    const TagRow* row = lookupTagName(u"p", 1);
    if (!row) throw std::logic_error("p is not in the tag table");
    return static_cast<std::uint32_t>(row->id);
}

std::vector<std::uint8_t> buildSampleImage(ImageBuilder& builder)
{
    const std::u16string svg = u"http://www.w3.org/2000/svg";
    builder.addComment(kNoParent, u" hi ");
    ElementSpec rect;
    rect.name = u"rect";
    rect.prefix = u"svg";
    rect.namespaceUri = svg;
    rect.declarations = {{u"svg", svg}};
    rect.attributes = {
        {u"svg", svg, u"xmlns", u"http://www.w3.org/2000/xmlns/", kAbsent},
        {u"width", u"10", u"", u"", 7},
        {u"hidden", u"", u"", u"", kAbsent},
    };
    const std::uint32_t rectNode = builder.addElement(kNoParent, rect);
    builder.addText(rectNode, u"caf\u00e9 \U0001F600");
    ElementSpec paragraph;
    paragraph.tagId = paragraphTagId();
    const std::uint32_t paragraphNode = builder.addElement(rectNode, paragraph);
    builder.addText(paragraphNode, u"x");
    ElementSpec group;
    group.name = u"g";
    group.declarations = {{std::nullopt, u""}};
    group.attributes = {{u"xmlns", u"", u"", u"", kAbsent}};
    builder.addElement(rectNode, group);
    builder.addText(kNoParent, u"");
    return builder.build();
}

std::vector<std::uint8_t> buildSampleImage()
{
    ImageBuilder builder;
    return buildSampleImage(builder);
}

}  // namespace Parsers::ImageTesting
