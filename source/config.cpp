#include "config.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

namespace integrity_check_tool {

namespace pt = boost::property_tree;

std::string ToJson(const Config& config)
{
    pt::ptree root;
    if (config.normalize) {
        root.put("normalize.manifestPath", config.normalize->manifestPath.string());
    }
    if (config.verify) {
        pt::ptree verify;
        verify.put("isVerbose", config.verify->isVerbose);
        pt::ptree paths;
        for (const Path& path : config.verify->manifestPaths) {
            paths.push_back({"", pt::ptree(path.string())});
        }
        verify.add_child("manifestPaths", paths);
        if (config.verify->crlStoragePath) {
            verify.put("crlStoragePath", config.verify->crlStoragePath->string());
        }
        verify.put("signatureType", ToName(config.verify->signatureType));
        root.add_child("verify", verify);
    }
    if (config.displayVersion) {
        root.put("displayVersion", "DisplayVersion");
    }
    if (config.logFile) {
        root.put("logFile", config.logFile->string());
    }
    root.put("logLevel", config.logLevel);
    if (config.singleFileCheck) {
        root.put("singleFileCheck.filePath", config.singleFileCheck->filePath.string());
        root.put("singleFileCheck.checkType", ToName(config.singleFileCheck->checkType));
    }
    if (config.generate) {
        const Config::Generate& generate = *config.generate;
        pt::ptree node;
        node.put("configPath", generate.configPath.string());
        node.put("manifestPath", generate.manifestPath.string());
        node.put("version", generate.version);
        if (generate.arch) {
            node.put("arch", ToName(*generate.arch));
        }
        if (generate.os) {
            node.put("os", ToName(*generate.os));
        }
        if (generate.osEdition) {
            node.put("osEdition", ToName(*generate.osEdition));
        }
        root.add_child("generate", node);
    }
    std::ostringstream out;
    pt::write_json(out, root, true);
    return out.str();
}

}  // namespace integrity_check_tool
