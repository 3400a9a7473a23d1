#include "systemstate/serial_port.h"

#include <gtest/gtest.h>

#include "model/tosk_struct_value.h"
#include "recording_machine.h"
#include "support/temporary_directory.h"
#include "systemstate/catalogue.h"
#include "systemstate/param_factory.h"
#include "systemstate/product.h"

namespace systemstate {

namespace {

struct PortCase {
    const char* oid;
    const char* device;
    const char* label;
};

class SerialPortRow : public testing::TestWithParam<std::size_t> {
  protected:
    static constexpr PortCase kPorts[] = {
        {"system.serial0", "/dev/ttyS2", "COM1"},
        {"system.serial1", "/dev/ttyS1", "COM2"},
        {"system.serial2", "/dev/ttyS3", "TBus"},
    };
    const PortCase& expected() const { return kPorts[GetParam()]; }
    SerialPort port() const { return makeSerialPorts()[GetParam()]; }
    // As the catalogue describes it; nothing of the machine is asked for.
    std::unique_ptr<ToskParam> makePortParam() const {
        const TemporaryDirectory root;
        RecordingMachine machine(root.path());
        const Product product("Quorane");
        const EthernetPorts ports = makeEthernetPorts();
        const MasterSystemDetails details;
        return makeParam(rowsBuiltBy(Builder::serialPorts)[GetParam()],
                         {machine, product, ports, details, {}, {}});
    }
};

TEST_P(SerialPortRow, Record) {
    EXPECT_EQ(port().oid, expected().oid);
    EXPECT_EQ(port().device, expected().device);
    EXPECT_EQ(port().label, expected().label);
    EXPECT_EQ(port().connectionPoint, "");
}

TEST_P(SerialPortRow, Param) {
    const std::unique_ptr<ToskParam> param = makePortParam();
    EXPECT_EQ(param->oid().toString(), expected().oid);
    EXPECT_EQ(param->name(), expected().label);
    EXPECT_EQ(param->type(), model::kTypeStruct);
    EXPECT_FALSE(param->published());
    EXPECT_FALSE(param->readonly());
}

TEST_P(SerialPortRow, MembersInTheirOrder) {
    const std::unique_ptr<ToskParam> param = makePortParam();
    EXPECT_EQ(
        util::renderJSON(param->valueToJSON().get(), false),
        std::string(R"({"_d_name":{"name":"Name","type":"STRING","readonly":false,"value":")") +
            expected().label +
            R"("},"_d_dev":{"name":"Device","type":"STRING","readonly":false,"value":")" +
            expected().device +
            R"("},"_d_connectionPoint":{"name":"Active Connection","type":"STRING",)"
            R"("readonly":false,"value":""}})");
}

INSTANTIATE_TEST_SUITE_P(Table, SerialPortRow, testing::Values(0U, 1U, 2U));

util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.c_str(), text.size());
}

TEST(SerialConnection, IsTakenFromTheMember) {
    SerialPort port = makeSerialPorts()[0];
    ToskParam param;
    param.setType(model::kTypeStruct);
    param.setValue(makeSerialValue(port));
    ASSERT_EQ(param.setValueFromJSON(
                  json(R"({"_d_connectionPoint":{"type":"STRING","value":"Router A"}})").get()),
              0);
    takeConnectionPoint(port, param);
    EXPECT_EQ(port.connectionPoint, "Router A");
}

TEST(SerialConnection, OtherMembersDoNotTouchIt) {
    SerialPort port = makeSerialPorts()[0];
    port.connectionPoint = "Router A";
    ToskParam param;
    param.setType(model::kTypeStruct);
    ASSERT_EQ(
        param.setValueFromJSON(json(R"({"_d_name":{"type":"STRING","value":"Router B"}})").get()),
        0);
    takeConnectionPoint(port, param);
    EXPECT_EQ(port.connectionPoint, "Router A");
}

TEST(SerialConnection, ValueThatIsNoStructIsPassedOver) {
    SerialPort port = makeSerialPorts()[0];
    ToskParam param;
    takeConnectionPoint(port, param);
    param.setValue(std::make_shared<ToskStringValue>("Router B"));
    takeConnectionPoint(port, param);
    EXPECT_EQ(port.connectionPoint, "");
}

}  // namespace

}  // namespace systemstate
