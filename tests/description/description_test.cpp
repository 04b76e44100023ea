// The descriptions as other people's programs read them, against the library's own kinematics.
#include "description/description.h"
#include "kinematics/kinematics_support.h"
#include "support/own_file.h"

#include <ament_index_cpp/get_package_share_directory.hpp>
#include <kdl_parser/kdl_parser.hpp>
#include <mujoco/mujoco.h>
#include <sdf/Collision.hh>
#include <sdf/Joint.hh>
#include <sdf/JointAxis.hh>
#include <sdf/Link.hh>
#include <sdf/Model.hh>
#include <sdf/Root.hh>

#include <fstream>
#include <memory>
#include <regex>
#include <set>

namespace {

namespace description = kx::description;

using Names = std::pair<std::string, std::string>;

struct Apart {
    double off = 0, turned = 0; // m, rad; the most that was seen

    void see(const KDL::Frame& a, const KDL::Frame& b)
    {
        const KDL::Twist twist = KDL::diff(a, b);
        off = std::max(off, twist.vel.Norm()), turned = std::max(turned, twist.rot.Norm());
    }
    ~Apart() // what single precision and the library's shorter pi leave
    {
        std::printf("at most %.1f um and %.1f urad apart\n", 1e6 * off, 1e6 * turned);
        EXPECT_LT(off, 5e-6);
        EXPECT_LT(turned, 2e-5);
    }
};

class Simulation {
  public:
    explicit Simulation(const std::string& text, const char* name = "arm.xml")
    {
        mju_user_warning = [](const char* words) { ADD_FAILURE() << words; };
        const OwnFile file(name, text);
        char error[1000] = "";
        model.reset(mj_loadXML(file.path.c_str(), nullptr, error, sizeof error));
        EXPECT_STREQ(error, "");
        if (model) data.reset(mj_makeData(model.get()));
    }
    void place(const Joints& degrees) const
    {
        for (int i = 0; i < model->nq; ++i)
            data->qpos[i] = degrees[static_cast<std::size_t>(i)] * kdl_arms::degree;
        mj_kinematics(model.get(), data.get());
    }
    KDL::Frame frame(const std::string& name) const
    {
        const int body = mj_name2id(model.get(), mjOBJ_BODY, name.c_str());
        const mjtNum *p = data->xpos + 3 * body, *q = data->xquat + 4 * body;
        return {KDL::Rotation::Quaternion(q[1], q[2], q[3], q[0]), {p[0], p[1], p[2]}};
    }

    std::unique_ptr<mjModel, decltype(&mj_deleteModel)> model{nullptr, mj_deleteModel};
    std::unique_ptr<mjData, decltype(&mj_deleteData)> data{nullptr, mj_deleteData};
};

struct Description : testing::TestWithParam<int> {
    void SetUp() override { Arm_Model_Init(&arm, GetParam(), 0); }

    description::Options options(const std::string& prefix = "") const { return {GetParam(), prefix, ""}; }

    ARM_MODEL arm;
    hard::Problems problems{arm, 1};
};

TEST_P(Description, KdlAndMuJoCoComputeTheSamePoses)
{
    KDL::Tree tree;
    testing::internal::CaptureStderr();
    for (const char* meshes : {"package://kx_description/meshes", ""})
        ASSERT_TRUE(kdl_parser::treeFromString(description::urdf({GetParam(), "left_", meshes}), tree));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    std::vector<KDL::Chain> chains(static_cast<std::size_t>(arm.joints) + 1);
    for (int i = 0; i < arm.joints; ++i)
        ASSERT_TRUE(tree.getChain("left_base", "left_link_" + std::to_string(i + 1), chains[i]));
    ASSERT_TRUE(tree.getChain("left_base", "left_tool0", chains.back()));
    const Simulation of_mjcf(description::mjcf(options("right_"))),
        of_urdf(description::urdf(options()), "arm.urdf");
    ASSERT_TRUE(of_mjcf.model && of_urdf.model);
    for (const mjModel* model : {of_mjcf.model.get(), of_urdf.model.get()}) {
        ASSERT_EQ(model->nq, arm.joints);
        for (int i = 0; i < arm.joints; ++i) {
            EXPECT_NEAR(model->jnt_range[2 * i], arm.lower[i] * degree, 1e-6);
            EXPECT_NEAR(model->jnt_range[2 * i + 1], arm.upper[i] * degree, 1e-6);
            for (int axis = 0; axis < 3; ++axis) // the same in both languages
                EXPECT_NEAR(model->body_inertia[3 * model->jnt_bodyid[i] + axis],
                            of_mjcf.model->body_inertia[3 * of_mjcf.model->jnt_bodyid[i] + axis], 1e-7);
        }
    }

    Apart apart;
    for (int round = 0; round < 10000; ++round) {
        const Joints joint = problems.anywhere();
        Matrix links[7];
        Arm_Model_Links(&arm, joint.data(), links);
        of_mjcf.place(joint), of_urdf.place(joint);
        for (std::size_t i = 0; i < chains.size(); ++i) {
            KDL::JntArray angles = kdl_arms::radians(GetParam(), joint.data());
            angles.resize(chains[i].getNrOfJoints());
            KDL::Frame found;
            KDL::ChainFkSolverPos_recursive(chains[i]).JntToCart(angles, found);
            const bool is_tool = i + 1 == chains.size();
            const KDL::Frame expected =
                is_tool ? kdl_arms::frame_by_quaternion(Arm_Model_Flange(&arm, joint.data()))
                        : frame_of(links[i]);
            apart.see(found, expected);
            const std::string name = "link_" + std::to_string(i + 1);
            if (!is_tool) apart.see(of_mjcf.frame("right_" + name), expected);
            if (!is_tool) apart.see(of_urdf.frame(name), expected);
        }
    }
}

TEST_P(Description, SdformatReadsAllOfIt)
{
    testing::internal::CaptureStderr();
    sdf::Root root;
    for (const sdf::Error& error : root.LoadSdfString(description::urdf(options())))
        ADD_FAILURE() << error.Message();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (int i = 1; i <= arm.joints; ++i) {
        const sdf::Joint* joint = root.Model()->JointByName("joint_" + std::to_string(i));
        const sdf::Link* link = root.Model()->LinkByName("link_" + std::to_string(i));
        ASSERT_TRUE(joint && link) << i;
        EXPECT_TRUE(joint->Axis()->MaxVelocity() > 1 && joint->Axis()->Effort() > 5);
        EXPECT_TRUE(link->Inertial().MassMatrix().IsValid() && link->CollisionCount() && link->VisualCount());
    }
}

// In every named state the drives hold the arm for three seconds, against gravity, and it does not touch itself.
TEST_P(Description, MuJoCoHoldsItsPostures)
{
    const Simulation arms(description::mjcf(options()));
    ASSERT_TRUE(arms.model);
    ASSERT_EQ(arms.model->nkey, 2);
    for (int key = 0; key < 2; ++key) {
        mj_resetDataKeyframe(arms.model.get(), arms.data.get(), key);
        while (arms.data->time < 3)
            mj_step(arms.model.get(), arms.data.get());
        EXPECT_EQ(arms.data->ncon, 0);
        for (int i = 0; i < arm.joints; ++i)
            EXPECT_NEAR(arms.data->qpos[i], arms.model->key_qpos[key * arm.joints + i], 0.005);
    }
}

// Pairs of links that planners shall not check: MuJoCo, made to check them all, finds that they touch always, or never.
TEST_P(Description, DisabledCollisionsAreWhatTheySay)
{
    std::map<Names, std::string> reasons;
    const std::string srdf = description::srdf(options());
    const std::regex row(R"re(link1="(\w+)" link2="(\w+)" reason="(\w+)")re");
    for (std::sregex_iterator match(srdf.begin(), srdf.end(), row), end; match != end; ++match)
        reasons[{(*match)[1], (*match)[2]}] = (*match)[3];
    const Simulation all(std::regex_replace(description::mjcf(options()), std::regex("<exclude[^>]*>"), ""));
    ASSERT_TRUE(all.model);
    std::map<Names, int> touching;
    constexpr int rounds = 3000;
    for (int round = 0; round < rounds; ++round) {
        all.place(problems.anywhere());
        mj_comPos(all.model.get(), all.data.get());
        mj_collision(all.model.get(), all.data.get());
        std::set<Names> now;
        for (int i = 0; i < all.data->ncon; ++i) {
            const auto name = [&](int geom) {
                return mj_id2name(all.model.get(), mjOBJ_BODY, all.model->geom_bodyid[geom]);
            };
            now.insert(
                std::minmax<std::string>(name(all.data->contact[i].geom1), name(all.data->contact[i].geom2)));
        }
        for (const Names& pair : now)
            ++touching[pair];
    }
    for (const auto& [pair, reason] : reasons) {
        if (reason == "Adjacent") continue;
        EXPECT_EQ(touching[pair], reason == "Always" ? rounds : 0) << pair.first << ' ' << pair.second;
    }
    for (const auto& [pair, count] : touching) {
        if (count == 0 || count == rounds) continue;
        EXPECT_EQ(reasons.count(pair), 0u) << pair.first << ' ' << pair.second;
    }
    EXPECT_GT(reasons.size(), static_cast<std::size_t>(arm.joints));
}

// Where ROS 2 looks for packages; and MuJoCo, which weighs meshes, finds them closed, with their faces outwards.
TEST_P(Description, PackageHasItsMeshes)
{
    setenv("AMENT_PREFIX_PATH", KX_PREFIX, 1);
    const std::string share = ament_index_cpp::get_package_share_directory("kx_description");
    std::ifstream file(share + "/urdf/kx_" + std::to_string(GetParam()) + ".urdf");
    const std::string urdf(std::istreambuf_iterator<char>(file), {});
    const std::regex row(R"re(filename="package://kx_description/(\S+/(\w+).stl)")re");
    std::string assets, geoms;
    int meshes = 0;
    for (std::sregex_iterator match(urdf.begin(), urdf.end(), row), end; match != end; ++match, ++meshes) {
        assets += "<mesh file=\"" + share + "/" + (*match)[1].str() + "\"/>";
        geoms += "<geom type=\"mesh\" density=\"1000\" mesh=\"" + (*match)[2].str() + "\"/>";
    }
    EXPECT_GT(meshes, 2 * arm.joints);
    const Simulation weighed("<mujoco><compiler exactmeshinertia=\"true\"/><asset>" + assets +
                             "</asset><worldbody><body><freejoint/>" + geoms +
                             "</body></worldbody></mujoco>");
    const Simulation said(description::mjcf(options()));
    ASSERT_TRUE(weighed.model && said.model);
    const double mass = mj_getTotalmass(weighed.model.get());
    EXPECT_GT(mass, mj_getTotalmass(said.model.get())); // there with primitive shapes, without balls
    EXPECT_LT(mass, 1.2 * mj_getTotalmass(said.model.get()));
}

INSTANTIATE_TEST_SUITE_P(Models, Description, testing::Values(36, 46, 47), testing::PrintToStringParamName());

} // namespace
