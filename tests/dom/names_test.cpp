// Tests of the interned name tables: every tag, attribute and foreign
// attribute row with its id, the exactness of the lookups (case, high bytes,
// units the hash does not read, length gates), the tag name list with its
// namespace prefix rows, and a rerun of the generator against the committed
// output.
#include "dom/names.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace Parsers {
namespace {

// The tag names in id order; the comment is the id of the line's first name.
const char16_t* const kExpectedTags[] = {
    /*   0 */ u"a", u"abbr", u"acronym", u"address", u"altGlyph", u"altGlyphDef", u"altGlyphItem",
    /*   7 */ u"animate", u"animateColor", u"animateMotion", u"animateTransform", u"annotation-xml",
    /*  12 */ u"applet", u"area", u"article", u"aside", u"audio", u"b", u"base", u"basefont",
    /*  20 */ u"bdi", u"bdo", u"bgsound", u"big", u"blink", u"blockquote", u"body", u"br",
    /*  28 */ u"button", u"canvas", u"caption", u"center", u"circle", u"cite", u"clipPath", u"code",
    /*  36 */ u"col", u"colgroup", u"command", u"content", u"data", u"datalist", u"dd", u"defs",
    /*  44 */ u"del", u"desc", u"details", u"dfn", u"dialog", u"dir", u"discard", u"div", u"dl",
    /*  53 */ u"dt", u"ellipse", u"em", u"embed", u"feBlend", u"feColorMatrix",
    /*  59 */ u"feComponentTransfer", u"feComposite", u"feConvolveMatrix", u"feDiffuseLighting",
    /*  63 */ u"feDisplacementMap", u"feDistantLight", u"feDropShadow", u"feFlood", u"feFuncA",
    /*  68 */ u"feFuncB", u"feFuncG", u"feFuncR", u"feGaussianBlur", u"feImage", u"feMerge",
    /*  74 */ u"feMergeNode", u"feMorphology", u"feOffset", u"fePointLight", u"feSpecularLighting",
    /*  79 */ u"feSpotLight", u"feTile", u"feTurbulence", u"fieldset", u"figcaption", u"figure",
    /*  85 */ u"filter", u"font", u"font-face", u"font-face-format", u"font-face-name",
    /*  90 */ u"font-face-src", u"font-face-uri", u"footer", u"foreignObject", u"form", u"frame",
    /*  96 */ u"frameset", u"g", u"get", u"glyph", u"glyphRef", u"h1", u"h2", u"h3", u"h4", u"h5",
    /* 106 */ u"h6", u"hatch", u"hatchpath", u"head", u"header", u"hgroup", u"hr", u"html", u"i",
    /* 115 */ u"iframe", u"image", u"img", u"input", u"ins", u"isindex", u"kbd", u"keygen",
    /* 123 */ u"label", u"legend", u"li", u"line", u"linearGradient", u"link", u"listener",
    /* 130 */ u"listing", u"main", u"malignmark", u"map", u"mark", u"marker", u"marquee", u"mask",
    /* 138 */ u"math", u"menu", u"menuitem", u"mesh", u"meshgradient", u"meshpatch", u"meshrow",
    /* 145 */ u"meta", u"metadata", u"meter", u"mglyph", u"mi", u"mn", u"mo", u"mpath", u"ms",
    /* 154 */ u"mtext", u"multicol", u"nav", u"nextid", u"nobr", u"noembed", u"noframes",
    /* 161 */ u"noscript", u"object", u"ol", u"optgroup", u"option", u"output", u"p", u"param",
    /* 169 */ u"path", u"pattern", u"picture", u"plaintext", u"polygon", u"polyline", u"pre",
    /* 176 */ u"progress", u"q", u"radialGradient", u"rb", u"rect", u"rp", u"rt", u"rtc", u"ruby",
    /* 185 */ u"s", u"samp", u"script", u"section", u"select", u"set", u"shadow", u"slot", u"small",
    /* 194 */ u"solidcolor", u"source", u"spacer", u"span", u"stop", u"strike", u"strong", u"style",
    /* 202 */ u"sub", u"summary", u"sup", u"svg", u"switch", u"symbol", u"table", u"tbody", u"td",
    /* 211 */ u"template", u"text", u"textPath", u"textarea", u"tfoot", u"th", u"thead", u"time",
    /* 219 */ u"title", u"tr", u"track", u"tspan", u"tt", u"u", u"ul", u"use", u"var", u"video",
    /* 229 */ u"view", u"wbr", u"webview", u"xmp",
};

// The categories of the tags; every tag in none of these lists is Unclassified.
const char16_t* const kExpectedSpecial[] = {
    u"address", u"annotation-xml", u"applet", u"area", u"article", u"aside", u"base", u"basefont",
    u"bgsound", u"blockquote", u"body", u"br", u"button", u"caption", u"center", u"col",
    u"colgroup", u"command", u"dd", u"desc", u"details", u"dir", u"div", u"dl", u"dt", u"embed",
    u"fieldset", u"figcaption", u"figure", u"footer", u"foreignObject", u"form", u"frame",
    u"frameset", u"h1", u"h2", u"h3", u"h4", u"h5", u"h6", u"head", u"header", u"hgroup", u"hr",
    u"html", u"iframe", u"image", u"img", u"input", u"isindex", u"li", u"link", u"listing",
    u"marquee", u"menu", u"meta", u"mi", u"mn", u"mo", u"ms", u"mtext", u"nav", u"noembed",
    u"noframes", u"noscript", u"object", u"ol", u"p", u"param", u"plaintext", u"pre", u"script",
    u"section", u"select", u"style", u"summary", u"table", u"tbody", u"td", u"textarea", u"tfoot",
    u"th", u"thead", u"title", u"tr", u"ul", u"wbr", u"xmp",
};
const char16_t* const kExpectedFormatting[] = {
    u"a", u"b", u"big", u"code", u"em", u"font", u"i", u"nobr", u"s", u"small", u"strike",
    u"strong", u"tt", u"u",
};
const char16_t* const kExpectedOrdinary[] = {
    u"abbr", u"acronym", u"audio", u"bdi", u"bdo", u"canvas", u"cite", u"datalist", u"del", u"dfn",
    u"ins", u"kbd", u"keygen", u"label", u"legend", u"malignmark", u"map", u"mark", u"math",
    u"meter", u"mglyph", u"optgroup", u"option", u"output", u"progress", u"q", u"rp", u"rt",
    u"ruby", u"samp", u"source", u"span", u"sub", u"sup", u"svg", u"time", u"track", u"var",
    u"video",

};

// The attribute names in id order; the comment is the id of the line's first name.
const char16_t* const kExpectedAttributes[] = {
    /*   0 */ u"accent-height", u"accept", u"accept-charset", u"accesskey", u"accumulate",
    /*   5 */ u"action", u"additive", u"align", u"alignment-baseline", u"allow", u"alphabetic",
    /*  11 */ u"alt", u"amplitude", u"arabic-form", u"aria-activedescendant", u"aria-atomic",
    /*  16 */ u"aria-autocomplete", u"aria-braillelabel", u"aria-brailleroledescription",
    /*  19 */ u"aria-busy", u"aria-checked", u"aria-colcount", u"aria-colindex",
    /*  23 */ u"aria-colindextext", u"aria-colspan", u"aria-controls", u"aria-current",
    /*  27 */ u"aria-describedby", u"aria-description", u"aria-details", u"aria-disabled",
    /*  31 */ u"aria-errormessage", u"aria-expanded", u"aria-flowto", u"aria-haspopup",
    /*  35 */ u"aria-hidden", u"aria-invalid", u"aria-keyshortcuts", u"aria-label",
    /*  39 */ u"aria-labelledby", u"aria-level", u"aria-live", u"aria-modal", u"aria-multiline",
    /*  44 */ u"aria-multiselectable", u"aria-orientation", u"aria-owns", u"aria-placeholder",
    /*  48 */ u"aria-posinset", u"aria-pressed", u"aria-readonly", u"aria-relevant",
    /*  52 */ u"aria-required", u"aria-roledescription", u"aria-rowcount", u"aria-rowindex",
    /*  56 */ u"aria-rowindextext", u"aria-rowspan", u"aria-selected", u"aria-setsize",
    /*  60 */ u"aria-sort", u"aria-valuemax", u"aria-valuemin", u"aria-valuenow", u"aria-valuetext",
    /*  65 */ u"ascent", u"async", u"attributeName", u"attributeType", u"autocapitalize",
    /*  70 */ u"autocomplete", u"autofocus", u"autoplay", u"azimuth", u"background",
    /*  75 */ u"baseFrequency", u"baseProfile", u"baseline-shift", u"bbox", u"begin", u"bgcolor",
    /*  81 */ u"bias", u"border", u"bordercolor", u"bordercolordark", u"bordercolorlight",
    /*  86 */ u"buffered", u"by", u"calcMode", u"cap-height", u"capture", u"cellpadding",
    /*  92 */ u"cellspacing", u"challenge", u"char", u"charoff", u"charset", u"checked", u"cite",
    /*  99 */ u"class", u"clip", u"clip-path", u"clip-rule", u"clipPathUnits", u"code", u"codebase",
    /* 106 */ u"color", u"color-interpolation", u"color-interpolation-filters", u"color-profile",
    /* 110 */ u"color-rendering", u"cols", u"colspan", u"content", u"contentScriptType",
    /* 115 */ u"contentStyleType", u"contenteditable", u"contents", u"contextmenu", u"controls",
    /* 120 */ u"coords", u"crossorigin", u"csp", u"cursor", u"cx", u"cy", u"d", u"data",
    /* 128 */ u"data-qv-id", u"data-qv-name", u"data-qv-settings", u"data-qv-user-id", u"datetime",
    /* 133 */ u"decelerate", u"decoding", u"default", u"defer", u"descent", u"diffuseConstant",
    /* 139 */ u"dir", u"direction", u"dirname", u"disabled", u"display", u"divisor",
    /* 145 */ u"dominant-baseline", u"download", u"draggable", u"dropzone", u"dur", u"dx", u"dy",
    /* 152 */ u"edgeMode", u"elevation", u"enable-background", u"encoding", u"enctype", u"end",
    /* 158 */ u"enterkeyhint", u"exponent", u"face", u"fill", u"fill-opacity", u"fill-rule",
    /* 164 */ u"filter", u"filterRes", u"filterUnits", u"flood-color", u"flood-opacity",
    /* 169 */ u"font-family", u"font-size", u"font-size-adjust", u"font-stretch", u"font-style",
    /* 174 */ u"font-variant", u"font-weight", u"for", u"form", u"formaction", u"format",
    /* 180 */ u"formenctype", u"formmethod", u"formnovalidate", u"formtarget", u"fr", u"frame",
    /* 186 */ u"frameborder", u"from", u"fx", u"fy", u"g1", u"g2", u"glyph-name",
    /* 193 */ u"glyph-orientation-horizontal", u"glyph-orientation-vertical", u"glyphRef",
    /* 196 */ u"gradientTransform", u"gradientUnits", u"gutter", u"hanging", u"headers", u"height",
    /* 202 */ u"hidden", u"high", u"horiz-adv-x", u"horiz-origin-x", u"href", u"hreflang",
    /* 208 */ u"hspace", u"http-equiv", u"id", u"ideographic", u"image-rendering", u"in", u"in2",
    /* 215 */ u"inputmode", u"integrity", u"intercept", u"internal", u"intrinsicsize", u"ismap",
    /* 221 */ u"itemprop", u"k", u"k1", u"k2", u"k3", u"k4", u"kernelMatrix", u"kernelUnitLength",
    /* 229 */ u"kerning", u"keyPoints", u"keySplines", u"keyTimes", u"keytype", u"kind", u"label",
    /* 236 */ u"lang", u"language", u"lengthAdjust", u"letter-spacing", u"lighting-color",
    /* 241 */ u"limitingConeAngle", u"link", u"list", u"loading", u"local", u"loop", u"low",
    /* 248 */ u"lowsrc", u"manifest", u"marginheight", u"marginwidth", u"marker-end", u"marker-mid",
    /* 254 */ u"marker-start", u"markerHeight", u"markerUnits", u"markerWidth", u"mask",
    /* 259 */ u"maskContentUnits", u"maskUnits", u"mathematical", u"max", u"maxlength", u"md",
    /* 265 */ u"media", u"method", u"methods", u"min", u"minlength", u"mode", u"multiple", u"muted",
    /* 273 */ u"name", u"noresize", u"noshade", u"novalidate", u"nowrap", u"numOctaves", u"offset",
    /* 280 */ u"onload", u"onunload", u"opacity", u"open", u"operator", u"optimum", u"order",
    /* 287 */ u"orient", u"orientation", u"origin", u"overflow", u"overline-position",
    /* 292 */ u"overline-thickness", u"paint-order", u"panose-1", u"path", u"pathLength",
    /* 297 */ u"pattern", u"patternContentUnits", u"patternTransform", u"patternUnits", u"ping",
    /* 302 */ u"placeholder", u"playsinline", u"pointer-events", u"points", u"pointsAtX",
    /* 307 */ u"pointsAtY", u"pointsAtZ", u"poster", u"preload", u"preserveAlpha",
    /* 312 */ u"preserveAspectRatio", u"primitiveUnits", u"r", u"radius", u"readonly", u"refX",
    /* 318 */ u"refY", u"referrerPolicy", u"referrerpolicy", u"rel", u"rendering-intent",
    /* 323 */ u"repeatCount", u"repeatDur", u"required", u"requiredExtensions", u"requiredFeatures",
    /* 328 */ u"restart", u"result", u"rev", u"reversed", u"role", u"rotate", u"rows", u"rowspan",
    /* 336 */ u"rules", u"rx", u"ry", u"sandbox", u"scale", u"scheme", u"scope", u"scoped",
    /* 344 */ u"scrolling", u"seamless", u"seed", u"selected", u"shape", u"shape-rendering",
    /* 350 */ u"size", u"sizes", u"slope", u"slot", u"spacing", u"span", u"specularConstant",
    /* 357 */ u"specularExponent", u"speed", u"spellcheck", u"spreadMethod", u"src", u"srcdoc",
    /* 363 */ u"srclang", u"srcset", u"standalone", u"start", u"startOffset", u"stdDeviation",
    /* 369 */ u"stemh", u"stemv", u"step", u"stitchTiles", u"stop-color", u"stop-opacity",
    /* 375 */ u"strikethrough-position", u"strikethrough-thickness", u"string", u"stroke",
    /* 379 */ u"stroke-dasharray", u"stroke-dashoffset", u"stroke-linecap", u"stroke-linejoin",
    /* 383 */ u"stroke-miterlimit", u"stroke-opacity", u"stroke-width", u"style", u"summary",
    /* 388 */ u"surfaceScale", u"systemLanguage", u"tabindex", u"tableValues", u"target",
    /* 393 */ u"targetX", u"targetY", u"text", u"text-anchor", u"text-decoration",
    /* 398 */ u"text-rendering", u"textLength", u"title", u"to", u"transform", u"transform-origin",
    /* 404 */ u"translate", u"type", u"u1", u"u2", u"underline-position", u"underline-thickness",
    /* 410 */ u"unicode", u"unicode-bidi", u"unicode-range", u"units-per-em", u"url", u"urn",
    /* 416 */ u"usemap", u"v-alphabetic", u"v-hanging", u"v-ideographic", u"v-mathematical",
    /* 421 */ u"valign", u"value", u"values", u"vector-effect", u"version", u"vert-adv-y",
    /* 427 */ u"vert-origin-x", u"vert-origin-y", u"viewBox", u"viewTarget", u"visibility",
    /* 432 */ u"vspace", u"width", u"widths", u"word-spacing", u"wrap", u"writing-mode", u"x",
    /* 439 */ u"x-height", u"x1", u"x2", u"xChannelSelector", u"xmlns", u"y", u"y1", u"y2",
    /* 447 */ u"yChannelSelector", u"z", u"zoomAndPan",
};

struct ExpectedForeignRow {
    const char16_t* qualifiedName;
    std::int32_t number;
    const char16_t* localName;
    NamespaceId namespaceId;
};

const ExpectedForeignRow kExpectedForeignRows[] = {
    {u"xlink:actuate", 0, u"actuate", NamespaceId::XLink},
    {u"xlink:arcrole", 1, u"arcrole", NamespaceId::XLink},
    {u"xlink:href", 2, u"href", NamespaceId::XLink},
    {u"xlink:role", 3, u"role", NamespaceId::XLink},
    {u"xlink:show", 4, u"show", NamespaceId::XLink},
    {u"xlink:title", 5, u"title", NamespaceId::XLink},
    {u"xlink:type", 6, u"type", NamespaceId::XLink},
    {u"xml:base", 7, u"base", NamespaceId::Xml},
    {u"xml:lang", 8, u"lang", NamespaceId::Xml},
    {u"xml:space", 9, u"space", NamespaceId::Xml},
    {u"xmlns", 10, u"xmlns", NamespaceId::None},
    {u"xmlns:xlink", 11, u"xlink", NamespaceId::Xmlns},
};

// The ASCII names as narrow text, for failure messages.
std::string narrow(const std::u16string& name)
{
    return std::string(name.begin(), name.end());
}

const TagRow* findTag(const std::u16string& name)
{
    return lookupTagName(name.data(), name.size());
}

const AttributeRow* findAttribute(const std::u16string& name)
{
    return lookupAttributeName(name.data(), name.size());
}

const ForeignAttributeRow* findForeign(const std::u16string& name)
{
    return lookupForeignAttribute(name.data(), name.size());
}

TagCategory expectedCategory(const std::u16string& name)
{
    for (const char16_t* special : kExpectedSpecial) {
        if (name == special) return TagCategory::Special;
    }
    for (const char16_t* formatting : kExpectedFormatting) {
        if (name == formatting) return TagCategory::Formatting;
    }
    for (const char16_t* ordinary : kExpectedOrdinary) {
        if (name == ordinary) return TagCategory::Ordinary;
    }
    return TagCategory::Unclassified;
}

// Every name of the three tables, for the tests that alter names.
std::vector<std::u16string> allTableNames()
{
    std::vector<std::u16string> names(std::begin(kExpectedTags), std::end(kExpectedTags));
    names.insert(names.end(), std::begin(kExpectedAttributes), std::end(kExpectedAttributes));
    for (const ExpectedForeignRow& row : kExpectedForeignRows) names.emplace_back(row.qualifiedName);
    return names;
}

bool foundInAnyTable(const std::u16string& name)
{
    return findTag(name) || findAttribute(name) || findForeign(name);
}

TEST(TagTable, HoldsExactlyTheExpectedCounts)
{
    EXPECT_EQ(std::size(kExpectedTags), 233u);
    EXPECT_EQ(std::size(kExpectedSpecial), 88u);
    EXPECT_EQ(std::size(kExpectedFormatting), 14u);
    EXPECT_EQ(std::size(kExpectedOrdinary), 39u);
    EXPECT_EQ(kTagCount, 233);
    EXPECT_EQ(kNamespacePrefixRow, 233);
    EXPECT_EQ(kTagNameListSize, 239);
}

TEST(NameStrings, ListTextsAsLastingStringsByRowAndId)
{
    const std::vector<UString>& tags = tagNameStrings();
    ASSERT_EQ(tags.size(), static_cast<std::size_t>(kTagNameListSize));
    for (std::int32_t row = 0; row < kTagNameListSize; ++row) {
        EXPECT_EQ(tags[static_cast<std::size_t>(row)], UString(tagNameText(row)));
    }
    EXPECT_EQ(&tagNameStrings(), &tags);
    const std::vector<UString>& attributes = attributeNameStrings();
    ASSERT_EQ(attributes.size(), static_cast<std::size_t>(kAttributeCount));
    for (std::int32_t id = 0; id < kAttributeCount; ++id) {
        const AttributeRow* row = attributeRowById(static_cast<AttributeId>(id));
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(attributes[static_cast<std::size_t>(id)], UString(row->name));
    }
    EXPECT_EQ(&attributeNameStrings(), &attributes);
}

TEST(NameStrings, OnlyTheListsOwnTextsCountAsListTexts)
{
    const std::vector<UString>& attributes = attributeNameStrings();
    EXPECT_TRUE(isAttributeNameListText(&attributes.front()));
    EXPECT_TRUE(isAttributeNameListText(&attributes.back()));
    const UString equal = attributes.front();
    EXPECT_FALSE(isAttributeNameListText(&equal));
    EXPECT_FALSE(isAttributeNameListText(attributes.data() + attributes.size()));
    EXPECT_FALSE(isAttributeNameListText(&tagNameStrings().front()));
    EXPECT_FALSE(isAttributeNameListText(nullptr));
}

TEST(TagTable, EveryTagIsFoundWithItsIdAndCategory)
{
    for (std::size_t id = 0; id < std::size(kExpectedTags); ++id) {
        std::u16string name = kExpectedTags[id];
        SCOPED_TRACE(narrow(name));
        const TagRow* row = findTag(name);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(static_cast<std::int32_t>(row->id), static_cast<std::int32_t>(id));
        EXPECT_EQ(row->category, expectedCategory(name));
        EXPECT_EQ(std::u16string(row->name), name);
        EXPECT_EQ(row->length, name.size());
        EXPECT_EQ(tagRowById(row->id), row);
        ASSERT_NE(tagNameText(static_cast<std::int32_t>(id)), nullptr);
        EXPECT_EQ(std::u16string(tagNameText(static_cast<std::int32_t>(id))), name);
    }
}

TEST(TagTable, CategoryCountsOverAllRows)
{
    int counts[4] = {0, 0, 0, 0};  // Unclassified, Special, Formatting, Ordinary
    for (std::int32_t id = 0; id < kTagCount; ++id) {
        ++counts[static_cast<std::int32_t>(tagRowById(static_cast<TagId>(id))->category) + 1];
    }
    EXPECT_EQ(counts[0], 92);
    EXPECT_EQ(counts[1], 88);
    EXPECT_EQ(counts[2], 14);
    EXPECT_EQ(counts[3], 39);
}

TEST(TagTable, CategoriesThatDifferFromTheUsualGrouping)
{
    for (const char16_t* name : {u"main", u"rb", u"rtc", u"picture", u"slot", u"content", u"listener",
                                 u"get", u"set", u"g", u"path", u"dialog", u"template"}) {
        EXPECT_EQ(findTag(name)->category, TagCategory::Unclassified) << narrow(name);
    }
    for (const char16_t* name : {u"svg", u"math", u"mglyph", u"malignmark", u"keygen"}) {
        EXPECT_EQ(findTag(name)->category, TagCategory::Ordinary) << narrow(name);
    }
    for (const char16_t* name : {u"foreignObject", u"annotation-xml", u"mi", u"mo", u"mn", u"ms", u"mtext",
                                 u"desc", u"title", u"command", u"image", u"isindex"}) {
        EXPECT_EQ(findTag(name)->category, TagCategory::Special) << narrow(name);
    }
    EXPECT_EQ(findTag(u"nobr")->category, TagCategory::Formatting);
    EXPECT_EQ(findTag(u"code")->category, TagCategory::Formatting);
}

TEST(TagTable, EnumeratorsNamedFromTheTagNames)
{
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Unknown), -1);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::A), 0);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::AltGlyph), 4);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::AnnotationXml), 11);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Body), 26);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::FeBlend), 57);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::FontFaceUri), 91);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::ForeignObject), 93);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::H1), 101);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Head), 109);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Html), 113);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Svg), 205);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Td), 210);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Th), 216);
    EXPECT_EQ(static_cast<std::int32_t>(TagId::Xmp), 232);
}

TEST(TagTable, NameListEndsWithTheNamespacePrefixes)
{
    const char16_t* const prefixes[] = {u"html", u"mathml", u"svg", u"xlink", u"xml", u"xmlns"};
    for (std::int32_t n = 0; n < 6; ++n) {
        ASSERT_NE(tagNameText(kNamespacePrefixRow + n), nullptr);
        EXPECT_EQ(std::u16string(tagNameText(kNamespacePrefixRow + n)), prefixes[n]);
    }
    EXPECT_EQ(tagNameText(239), nullptr);
    EXPECT_EQ(tagNameText(-1), nullptr);
    EXPECT_EQ(tagNameText(std::numeric_limits<std::int32_t>::max()), nullptr);
}

TEST(TagTable, RowsByIdRefuseIdsOutsideTheTags)
{
    EXPECT_EQ(tagRowById(TagId::Unknown), nullptr);
    EXPECT_EQ(tagRowById(static_cast<TagId>(233)), nullptr);
    EXPECT_EQ(tagRowById(static_cast<TagId>(238)), nullptr);
    ASSERT_NE(tagRowById(static_cast<TagId>(232)), nullptr);
    EXPECT_EQ(std::u16string(tagRowById(static_cast<TagId>(232))->name), u"xmp");
}

TEST(TagLookup, NamespacePrefixRowsAreNeverReturned)
{
    EXPECT_EQ(findTag(u"mathml"), nullptr);
    EXPECT_EQ(findTag(u"xlink"), nullptr);
    EXPECT_EQ(findTag(u"xml"), nullptr);
    EXPECT_EQ(findTag(u"xmlns"), nullptr);
    // html and svg are tags of their own, with the ids of their tag rows.
    ASSERT_NE(findTag(u"html"), nullptr);
    EXPECT_EQ(findTag(u"html")->id, TagId::Html);
    EXPECT_EQ(static_cast<std::int32_t>(findTag(u"html")->id), 113);
    ASSERT_NE(findTag(u"svg"), nullptr);
    EXPECT_EQ(static_cast<std::int32_t>(findTag(u"svg")->id), 205);
}

TEST(TagLookup, UpperCaseIsNotFolded)
{
    EXPECT_EQ(findTag(u"DIV"), nullptr);
    EXPECT_EQ(findTag(u"Div"), nullptr);
    EXPECT_EQ(findTag(u"divX"), nullptr);
    EXPECT_EQ(findTag(u"di"), nullptr);
    EXPECT_EQ(findTag(u"foreignobject"), nullptr);
    EXPECT_EQ(findTag(u"FOREIGNOBJECT"), nullptr);
    EXPECT_EQ(findTag(u"clippath"), nullptr);
    ASSERT_NE(findTag(u"div"), nullptr);
    EXPECT_EQ(findTag(u"div")->id, TagId::Div);
}

TEST(TagLookup, LengthGateRefusesBeforeReadingTheKey)
{
    // A null key would fault if it were read.
    EXPECT_EQ(lookupTagName(nullptr, 0), nullptr);
    EXPECT_EQ(lookupTagName(nullptr, 20), nullptr);
    EXPECT_EQ(lookupTagName(nullptr, std::numeric_limits<std::size_t>::max()), nullptr);
    // The longest tag name, 19 units, passes the gate.
    ASSERT_NE(findTag(u"feComponentTransfer"), nullptr);
    EXPECT_EQ(findTag(u"feComponentTransfer")->id, TagId::FeComponentTransfer);
    EXPECT_EQ(findTag(u"feComponentTransferX"), nullptr);
    ASSERT_NE(findTag(u"a"), nullptr);
    EXPECT_EQ(findTag(u"a")->id, TagId::A);
}

TEST(TagLookup, HighByteOfAUnitIsCompared)
{
    // 0x0161 has the low byte of 'a' and hashes alike.
    EXPECT_EQ(findTag(std::u16string(1, char16_t(0x0161))), nullptr);
    EXPECT_EQ(findTag(u"\u0161bbr"), nullptr);
    EXPECT_EQ(findTag(u"d\u0169v"), nullptr);
    EXPECT_EQ(findTag(u"di\u0176"), nullptr);
    EXPECT_EQ(findTag(std::u16string(u"b\u0172")), nullptr);
}

TEST(AllLookups, EveryChangedHighByteIsRefused)
{
    for (const std::u16string& name : allTableNames()) {
        for (std::size_t i = 0; i < name.size(); ++i) {
            for (char16_t high : {char16_t(0x0100), char16_t(0x0900), char16_t(0xFF00)}) {
                std::u16string changed = name;
                changed[i] = static_cast<char16_t>(changed[i] | high);
                EXPECT_FALSE(foundInAnyTable(changed))
                    << narrow(name) << " at " << i;
            }
        }
    }
}

TEST(AllLookups, EveryChangedUnitIsRefused)
{
    // Units the hashes never read must still be compared: changing any single
    // unit of a name to one no name uses gives a name no table holds.
    for (const std::u16string& name : allTableNames()) {
        for (std::size_t i = 0; i < name.size(); ++i) {
            std::u16string changed = name;
            changed[i] = u'#';
            EXPECT_FALSE(foundInAnyTable(changed)) << narrow(name) << " at " << i;
        }
    }
}

TEST(AllLookups, ShortenedAndLengthenedNamesAreRefusedUnlessRows)
{
    std::set<std::u16string> known;
    for (const std::u16string& name : allTableNames()) known.insert(name);
    for (const std::u16string& name : allTableNames()) {
        std::u16string shorter = name.substr(0, name.size() - 1);
        std::u16string longer = name + u"x";
        if (!known.count(shorter)) {
            EXPECT_FALSE(foundInAnyTable(shorter)) << narrow(shorter);
        }
        if (!known.count(longer)) {
            EXPECT_FALSE(foundInAnyTable(longer)) << narrow(longer);
        }
    }
}

TEST(AttributeTable, EveryAttributeIsFoundWithItsId)
{
    ASSERT_EQ(std::size(kExpectedAttributes), 450u);
    EXPECT_EQ(kAttributeCount, 450);
    for (std::size_t id = 0; id < std::size(kExpectedAttributes); ++id) {
        std::u16string name = kExpectedAttributes[id];
        SCOPED_TRACE(narrow(name));
        const AttributeRow* row = findAttribute(name);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(static_cast<std::int32_t>(row->id), static_cast<std::int32_t>(id));
        EXPECT_EQ(std::u16string(row->name), name);
        EXPECT_EQ(row->length, name.size());
        EXPECT_EQ(attributeRowById(row->id), row);
    }
}

TEST(AttributeTable, RowsByIdRefuseIdsOutsideTheTable)
{
    EXPECT_EQ(attributeRowById(AttributeId::Unknown), nullptr);
    EXPECT_EQ(attributeRowById(static_cast<AttributeId>(450)), nullptr);
    ASSERT_NE(attributeRowById(static_cast<AttributeId>(449)), nullptr);
    EXPECT_EQ(std::u16string(attributeRowById(static_cast<AttributeId>(449))->name), u"zoomAndPan");
}

TEST(AttributeTable, EnumeratorsNamedFromTheAttributeNames)
{
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Unknown), -1);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::AccentHeight), 0);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Colspan), 112);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::DataQvId), 128);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Href), 206);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Panose1), 294);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::ReferrerPolicy), 319);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Referrerpolicy), 320);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Rowspan), 335);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::Width), 433);
    EXPECT_EQ(static_cast<std::int32_t>(AttributeId::ZoomAndPan), 449);
}

TEST(AttributeLookup, LengthGateAcceptsTwentyEightAndRefusesBeyond)
{
    EXPECT_EQ(lookupAttributeName(nullptr, 0), nullptr);
    EXPECT_EQ(lookupAttributeName(nullptr, 29), nullptr);
    EXPECT_EQ(lookupAttributeName(nullptr, std::numeric_limits<std::size_t>::max()), nullptr);
    ASSERT_NE(findAttribute(u"aria-brailleroledescription"), nullptr);
    EXPECT_EQ(static_cast<std::int32_t>(findAttribute(u"aria-brailleroledescription")->id), 18);
    ASSERT_NE(findAttribute(u"glyph-orientation-horizontal"), nullptr);
    EXPECT_EQ(findAttribute(u"glyph-orientation-horizontal")->length, 28);
    EXPECT_EQ(static_cast<std::int32_t>(findAttribute(u"glyph-orientation-horizontal")->id), 193);
    ASSERT_NE(findAttribute(u"d"), nullptr);
    EXPECT_EQ(static_cast<std::int32_t>(findAttribute(u"d")->id), 126);
}

TEST(AttributeLookup, CaseAndHighBytesAreExact)
{
    EXPECT_EQ(findAttribute(u"HREF"), nullptr);
    EXPECT_EQ(findAttribute(u"Href"), nullptr);
    EXPECT_EQ(findAttribute(u"viewbox"), nullptr);
    ASSERT_NE(findAttribute(u"viewBox"), nullptr);
    // The two spellings of referrer policy are rows of their own.
    EXPECT_EQ(findAttribute(u"referrerPolicy")->id, AttributeId::ReferrerPolicy);
    EXPECT_EQ(findAttribute(u"referrerpolicy")->id, AttributeId::Referrerpolicy);
    EXPECT_EQ(findAttribute(u"\u0161lt"), nullptr);
    EXPECT_EQ(findAttribute(u"al\u0174"), nullptr);
}

TEST(ForeignAttributeTable, EveryRowIsFoundWithNumberLocalNameAndNamespace)
{
    ASSERT_EQ(std::size(kExpectedForeignRows), 12u);
    EXPECT_EQ(kForeignAttributeCount, 12);
    for (const ExpectedForeignRow& expected : kExpectedForeignRows) {
        std::u16string name = expected.qualifiedName;
        SCOPED_TRACE(narrow(name));
        const ForeignAttributeRow* row = findForeign(name);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(std::u16string(row->qualifiedName), name);
        EXPECT_EQ(row->length, name.size());
        EXPECT_EQ(row->number, expected.number);
        EXPECT_EQ(std::u16string(row->localName), expected.localName);
        EXPECT_EQ(row->namespaceId, expected.namespaceId);
        EXPECT_EQ(foreignAttributeRowByNumber(expected.number), row);
    }
    EXPECT_EQ(foreignAttributeRowByNumber(-1), nullptr);
    EXPECT_EQ(foreignAttributeRowByNumber(12), nullptr);
}

TEST(ForeignAttributeLookup, LengthGateIsFiveToThirteen)
{
    EXPECT_EQ(lookupForeignAttribute(nullptr, 0), nullptr);
    EXPECT_EQ(lookupForeignAttribute(nullptr, 4), nullptr);
    EXPECT_EQ(lookupForeignAttribute(nullptr, 14), nullptr);
    EXPECT_EQ(lookupForeignAttribute(nullptr, std::numeric_limits<std::size_t>::max()), nullptr);
    EXPECT_EQ(findForeign(u"xmlns")->number, 10);
    EXPECT_EQ(findForeign(u"xlink:actuate")->number, 0);
    EXPECT_EQ(findForeign(u"xlink:arcrole")->number, 1);
}

TEST(ForeignAttributeLookup, QualifiedNamesAreNotAttributesButLocalNamesAre)
{
    EXPECT_NE(findForeign(u"xlink:href"), nullptr);
    EXPECT_EQ(findAttribute(u"xlink:href"), nullptr);
    ASSERT_NE(findAttribute(u"href"), nullptr);
    EXPECT_EQ(findAttribute(u"href")->id, AttributeId::Href);
    EXPECT_EQ(findForeign(u"href"), nullptr);
    // xmlns is a row of both tables.
    EXPECT_NE(findForeign(u"xmlns"), nullptr);
    ASSERT_NE(findAttribute(u"xmlns"), nullptr);
    EXPECT_EQ(static_cast<std::int32_t>(findAttribute(u"xmlns")->id), 443);
}

TEST(ForeignAttributeLookup, OtherPrefixedNamesAreRefused)
{
    EXPECT_EQ(findForeign(u"xml:id"), nullptr);
    EXPECT_EQ(findForeign(u"xlink:foo"), nullptr);
    EXPECT_EQ(findForeign(u"XLINK:HREF"), nullptr);
    EXPECT_EQ(findForeign(u"xlink:Href"), nullptr);
    EXPECT_EQ(findForeign(u"xmlns:xml"), nullptr);
    EXPECT_EQ(findForeign(u"xmlns:svg"), nullptr);
    EXPECT_EQ(findForeign(u"xlink:hre\u0166"), nullptr);
}

std::string readWholeFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TEST(NameTablesGenerator, RerunGivesTheCommittedFiles)
{
    const std::filesystem::path source = DOMPARSE_SOURCE_DIR;
    const std::filesystem::path output = std::filesystem::path(DOMPARSE_BINARY_DIR) / "names_generator_rerun";
    std::filesystem::remove_all(output);
    std::filesystem::create_directories(output);
    const std::string command = "python3 \"" + (source / "tools" / "gen" / "gen_names.py").string() +
                                "\" --output-dir \"" + output.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    for (const char* file : {"tag_ids.h", "attribute_ids.h", "names_tables.cpp"}) {
        const std::string committed = readWholeFile(source / "src" / "dom" / file);
        const std::string generated = readWholeFile(output / file);
        EXPECT_FALSE(committed.empty()) << file;
        EXPECT_TRUE(committed == generated) << file << " differs from a fresh run of the generator";
    }
    std::filesystem::remove_all(output);
}

}  // namespace
}  // namespace Parsers
