#include "feature/wire/DiffWire.h"

namespace vorda {

nlohmann::json Wire<DiffEditorProtocol::FileKeep>::encode(
    const DiffEditorProtocol::FileKeep& keep) {
    return toJSON(keep);
}

DiffEditorProtocol::FileKeep Wire<DiffEditorProtocol::FileKeep>::decode(const JsonReader& reader) {
    return decodeFileKeep(reader);
}

nlohmann::json Wire<DiffEditorProtocol::HunkSelection>::encode(
    const DiffEditorProtocol::HunkSelection& selection) {
    return toJSON(selection);
}

DiffEditorProtocol::HunkSelection Wire<DiffEditorProtocol::HunkSelection>::decode(
    const JsonReader& reader) {
    return decodeHunkSelection(reader);
}

}  // namespace vorda
