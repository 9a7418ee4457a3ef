// makeScene: the ground of the job and the solids of a street or a site around its set-ups.

#include "synth/scene_builder.h"

#include "synth/scan_plan.h"

namespace sorvek::synth {

SceneHandle makeScene(const SurveySpec& spec, const std::vector<ScanPose>& poses) {
    auto scene = std::make_shared<Scene>();
    scene->ground = makeGround(spec);
    std::vector<SetupPoint> setups;
    for (const ScanPose& pose : poses) {
        setups.push_back({pose.x - translationX(spec), pose.y - translationY(spec)});
    }
    // Nothing beyond the range limit can be seen, so the scene stops a little past it.
    const double reach = spec.rangeLimit + 5.0;
    Rng rng = makeRng(spec.seed, sceneStream);
    if (spec.layout == "site") {
        buildSite(*scene, setups, reach, rng);
    } else {
        buildStreet(*scene, spec, setups, reach, rng);
    }
    return SceneHandle{scene};
}

}  // namespace sorvek::synth
