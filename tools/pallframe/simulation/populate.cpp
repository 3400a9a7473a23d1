#include "pallframe/simulation/populate.h"

#include <algorithm>
#include <array>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::simulation {

namespace {

namespace fs = std::filesystem;

constexpr double kNetworkRestart = 0.5;                                // seconds
constexpr std::string_view kOwnCommand = "/usr/local/sbin/pallframe";  // for a person inside

// One file of a frame, with the text that the product gives it.
struct FrameFile {
    std::string_view path;
    bool (*belongsTo)(const Product& product);
    std::string (*text)(const Product& product);
};

bool toAll(const Product&) {
    return true;
}

bool toTessara(const Product& product) {
    return product.tessara;
}

bool toBrio(const Product& product) {
    return !product.hasXADC;
}

std::string eeprom(const Product& product) {
    return "PRODUCT=" + std::string(product.name) + "\nSERIAL=000123\n";
}

std::string detection(const Product& product) {
    return "Frame Type: " + std::to_string(product.frameType) +
           "\nFrame Size: 3\nSlot Count: 16\nPL Rev: 7\n";
}

std::string labels(const Product&) {
    return R"({"0": {"port": "eth0-001122334455", "label": "Studio frame"}})"
           "\n";
}

std::string buildProperties(const Product&) {
    return "VERSION=\"4.2.1\"\nPROJECT_SVN=\"31415\"\n";
}

std::string networkSettings(const Product&) {
    return "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";
}

std::string unit(const Product&) {
    return "[Service]\nExecStart=/bin/true\n";
}

std::string users(const Product&) {
    return "root:x:0:0:root:/:/bin/sh\nnobody:x:65534:65534:nobody:/:/bin/false\n";
}

constexpr std::array<FrameFile, 11> kFiles{{
    {paths::kProduct, toAll, [](const Product& p) { return std::string(p.name); }},
    {paths::kEeprom, toAll, eeprom},
    {paths::kDetection, toTessara, detection},
    {paths::kDeviceLabels, toTessara, labels},
    {paths::kBuild, toAll, buildProperties},
    {paths::kNetwork, toAll, networkSettings},
    {paths::kAddress, toAll, [](const Product&) { return std::string("00:11:22:33:44:55\n"); }},
    {"/etc/systemd/system/ssh.service", toBrio, unit},
    {"/etc/systemd/system/vsftpd.service", toBrio, unit},
    {"/etc/passwd", toAll, users},
    {"/etc/hosts", toAll, [](const Product&) { return std::string("127.0.0.1 localhost\n"); }},
}};

// What an earlier life of the tree may have left.
constexpr std::array<std::string_view, 8> kTransient{
    paths::kBondCopy, paths::kRegisters, paths::kDeviceName, paths::kCommands,
    paths::kServices, paths::kPauses,    paths::kExits,      paths::kAside,
};

void placePrograms(const FrameRoot& tree) {
    for (const std::string& path : programPaths()) {
        tree.makeDirectory(fs::path(path).parent_path().string());
        fs::remove(tree.path(path));
        fs::create_symlink(paths::kProgram, tree.path(path));
    }
    fs::remove(tree.path(kOwnCommand));
    fs::create_symlink(paths::kProgram, tree.path(kOwnCommand));
}

void placeDevices(const FrameRoot& tree) {
    const FrameLock lock(tree);
    storeBond(
        tree,
        {{{"eth0", true, 0, "00:11:22:33:44:55"}, {"eth1", true, 0, "00:11:22:33:44:56"}}, "eth0"});
    storePower(tree, Power{});
}

}  // namespace

std::vector<std::string_view> findProductsWith(std::string_view path) {
    std::vector<std::string_view> names;
    const auto* const file = std::ranges::find(kFiles, path, &FrameFile::path);
    for (const Product& product : products()) {
        if (file != kFiles.end() && file->belongsTo(product)) {
            names.push_back(product.name);
        }
    }
    return names;
}

void populate(const FrameRoot& tree, const Product& product) {
    for (const std::string_view path : kTransient) {
        fs::remove_all(tree.path(path));
    }
    for (const FrameFile& file : kFiles) {
        if (file.belongsTo(product)) {
            tree.replace(file.path, file.text(product));
        } else {
            tree.remove(file.path);
        }
    }
    for (const std::string_view directory : {"/var/log", "/vantor/etc", "/vantor/app", "/tmp"}) {
        tree.makeDirectory(directory);
    }
    placeDevices(tree);
    placePrograms(tree);
    setPause(tree, "S40network", kNetworkRestart);
}

}  // namespace pallframe::simulation
