// makeScene: the ground of the job and the solids of a street or a site around its set-ups.

#include "synth/scene_builder.h"

#include "synth/scan_plan.h"

namespace sorvek::synth {

SceneHandle makeScene(const SurveySpec& surveySpec, const std::vector<ScanPose>& poses) {
    auto scene = std::make_shared<Scene>();
    scene->ground = makeGround(surveySpec);
    std::vector<SetupPoint> setups;
    for (const ScanPose& pose : poses) {
        setups.push_back({pose.x - translationX(surveySpec), pose.y - translationY(surveySpec)});
    }
    // Nothing beyond the range limit can be seen, so the scene stops a little past it.
    const double reach = surveySpec.rangeLimit + 5.0;
    Rng rng = makeRng(surveySpec.seed, sceneStream);
    if (surveySpec.layout == "site") {
        buildSite(*scene, setups, reach, rng);
    } else {
        buildStreet(*scene, surveySpec, setups, reach, rng);
    }
    return SceneHandle{scene};
}

}  // namespace sorvek::synth
