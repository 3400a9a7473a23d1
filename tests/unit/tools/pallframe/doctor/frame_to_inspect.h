#pragma once

#include "pallframe/doctor/doctor.h"
#include "pallframe/simulation/frame_paths.h"
#include "temporary_frame.h"

// A populated frame as it is while it runs: with the program behind its programs, and the host's
// shell.
class FrameToInspect : public TemporaryFrame {
  protected:
    void runAs(const char* product) {
        populateAs(product);
        tree.replace(pallframe::simulation::paths::kProgram,
                     "\x7f"
                     "ELF",
                     0755);
        tree.replace("/bin/sh",
                     "\x7f"
                     "ELF",
                     0755);
    }

    pallframe::doctor::Diagnosis diagnosis() const {
        return pallframe::doctor::diagnose(pallframe::doctor::RootProbe(tree.path("/")));
    }

    // What was found at a path; an empty finding when that was not looked at.
    pallframe::doctor::Finding at(const std::string& path) const {
        for (const pallframe::doctor::Finding& finding : diagnosis().findings) {
            if (finding.path == path) {
                return finding;
            }
        }
        return {};
    }
};

inline constexpr const char* kAllProducts[] = {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio",
                                               "KELI"};
