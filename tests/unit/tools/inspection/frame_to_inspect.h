#pragma once

#include "frame/paths.h"
#include "inspection/doctor.h"
#include "temporary_tree.h"

// A furnished frame as it is while it runs: with the program behind its programs, and the host's
// shell.
class FrameToInspect : public TemporaryTree {
  protected:
    void runAs(const char* product) {
        furnishAs(product);
        tree.replace(frame::paths::kProgram,
                     "\x7f"
                     "ELF",
                     0755);
        tree.replace("/bin/sh",
                     "\x7f"
                     "ELF",
                     0755);
    }

    inspection::Diagnosis diagnosis() const {
        return inspection::diagnose(inspection::Root(tree.path("/")));
    }

    // What was found at a path; an empty finding when that was not looked at.
    inspection::Finding at(const std::string& path) const {
        for (const inspection::Finding& finding : diagnosis().findings) {
            if (finding.path == path) {
                return finding;
            }
        }
        return {};
    }
};

inline constexpr const char* kAllProducts[] = {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio",
                                               "KELI"};
