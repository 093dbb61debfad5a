#include "amp/AmplifierDocument.h"

namespace torvane {

// The amplifier as data: two mono chains, the second ("_S") reading system input 1 and
// bypassed until the Stereo control is on. The stage tables, the networks' coefficients and
// the cabinet response are installed after parsing; the numbers that stand in their place
// here are place-holders.
const std::string_view amplifierDocument = R"TORVANE(<?xml version="1.0" encoding="UTF-8"?>
<System>
  <Graphs>
    <Graph Name="G1" Type="DSP" Multiplier="2.0">
      <Element Type="Gain" Name="InputGain">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="IirInterpolator" Name="1">
        <Properties CornerFrequency="15000" Factor="2" Order="2" Cascade="4" Type="Butterworth"/>
        <Inputs><Input Port="in" Element="InputGain" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="System" Node="0"/></Inputs>
      <Output><Node Name="out" Element="1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V1" Type="DSP">
      <Element Type="LookupTableFilter" Name="V1">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02" UseInputCurrent="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="G1" Node="out"/></Inputs>
      <Output><Node Name="out" Element="V1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V2-out-Rg" Type="DSP">
      <Properties Off="true"/>
      <Element Type="BiQuad" Name="VC">
        <Properties A="0.0|0.0" B="0.0|0.0|0.0" PropertyNames="Wiper|Gain" Gain="1.0" Wiper="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V2">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02"/>
        <Inputs><Input Port="in" Element="VC" Output="out"/></Inputs>
      </Element>
      <Element Type="FirstOrderIIR" Name="V2V3">
        <Properties A="0.0" B="0.0|0.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="V2" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V3">
        <Properties VinMin="-40" VinMax="100" DeltaV="0.01"/>
        <Inputs><Input Port="in" Element="V2V3" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="V1" Node="out"/></Inputs>
      <Output><Node Name="out5" Element="V3" Port="out"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V2-out-Rg-lowCPU" Type="DSP">
      <Properties Off="false"/>
      <Element Type="FilterWrapper" Name="VC">
        <Properties PropertyNames="Wiper" Wiper="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="Gain" Name="GlobalFB">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="VC" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V2">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02"/>
        <Inputs><Input Port="in" Element="GlobalFB" Output="out"/></Inputs>
      </Element>
      <Element Type="FilterWrapper" Name="V2V3">
        <Properties InputIndex="0"/>
        <Inputs><Input Port="in" Element="V2" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V3">
        <Properties VinMin="-40" VinMax="100" DeltaV="0.01"/>
        <Inputs><Input Port="in" Element="V2V3" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="V1" Node="out"/></Inputs>
      <Output><Node Name="out5" Element="V3" Port="out"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="Switch" Type="DSP">
      <Element Type="Switch" Name="S">
        <Properties NumberOfInputs="2" Position="0"/>
        <Inputs><Input Port="in_0" Element="Graph" Output="0"/><Input Port="in_1" Element="Graph" Output="1"/></Inputs>
      </Element>
      <Inputs><Input Graph="V2-out-Rg-lowCPU" Node="out5"/><Input Graph="V2-out-Rg" Node="out5"/></Inputs>
      <Output><Node Name="out" Element="S" Port="out"/></Output>
      <NumberOfInputs>2</NumberOfInputs>
    </Graph>
    <Graph Name="G2" Type="DSP" Multiplier="0.5">
      <Element Type="IirDecimator" Name="1">
        <Properties CornerFrequency="20000" Factor="2" Order="2" Cascade="8" Type="Butterworth"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="Switch" Node="out"/></Inputs>
      <Output><Node Name="out" Element="1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="out DC block" Type="DSP">
      <Element Type="FirstOrderIIR" Name="DC block">
        <Properties A="-0.9995" B="1.0|-1.0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="Gain" Name="Gain">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="DC block" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="G2" Node="out"/></Inputs>
      <Output><Node Name="out" Element="Gain" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="WaveConvolver" Type="DSP">
      <Element Type="WaveConvolver" Name="WV">
        <Properties Location="Memory" ImpulseResponses="u87" MaxIRSize="8192" Gain="0.25" Scale="true"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="out DC block" Node="out"/></Inputs>
      <Output><Node Name="out" Element="WV" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="G1_S" Type="DSP" Multiplier="2.0">
      <Element Type="Gain" Name="InputGain">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="IirInterpolator" Name="1">
        <Properties CornerFrequency="15000" Factor="2" Order="2" Cascade="4" Type="Butterworth"/>
        <Inputs><Input Port="in" Element="InputGain" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="System" Node="1"/></Inputs>
      <Output><Node Name="out" Element="1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V1_S" Type="DSP">
      <Element Type="LookupTableFilter" Name="V1">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02" UseInputCurrent="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="G1_S" Node="out"/></Inputs>
      <Output><Node Name="out" Element="V1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V2-out-Rg_S" Type="DSP">
      <Properties Off="true"/>
      <Element Type="BiQuad" Name="VC">
        <Properties A="0.0|0.0" B="0.0|0.0|0.0" PropertyNames="Wiper|Gain" Gain="1.0" Wiper="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V2">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02"/>
        <Inputs><Input Port="in" Element="VC" Output="out"/></Inputs>
      </Element>
      <Element Type="FirstOrderIIR" Name="V2V3">
        <Properties A="0.0" B="0.0|0.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="V2" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V3">
        <Properties VinMin="-40" VinMax="100" DeltaV="0.01"/>
        <Inputs><Input Port="in" Element="V2V3" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="V1_S" Node="out"/></Inputs>
      <Output><Node Name="out5" Element="V3" Port="out"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="V2-out-Rg-lowCPU_S" Type="DSP">
      <Properties Off="false"/>
      <Element Type="FilterWrapper" Name="VC">
        <Properties PropertyNames="Wiper" Wiper="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="Gain" Name="GlobalFB">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="VC" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V2">
        <Properties VinMin="-8" VinMax="80" DeltaV="0.02"/>
        <Inputs><Input Port="in" Element="GlobalFB" Output="out"/></Inputs>
      </Element>
      <Element Type="FilterWrapper" Name="V2V3">
        <Properties InputIndex="0"/>
        <Inputs><Input Port="in" Element="V2" Output="out"/></Inputs>
      </Element>
      <Element Type="LookupTableFilter" Name="V3">
        <Properties VinMin="-40" VinMax="100" DeltaV="0.01"/>
        <Inputs><Input Port="in" Element="V2V3" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="V1_S" Node="out"/></Inputs>
      <Output><Node Name="out5" Element="V3" Port="out"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="Switch_S" Type="DSP">
      <Element Type="Switch" Name="S">
        <Properties NumberOfInputs="2" Position="0"/>
        <Inputs><Input Port="in_0" Element="Graph" Output="0"/><Input Port="in_1" Element="Graph" Output="1"/></Inputs>
      </Element>
      <Inputs><Input Graph="V2-out-Rg-lowCPU_S" Node="out5"/><Input Graph="V2-out-Rg_S" Node="out5"/></Inputs>
      <Output><Node Name="out" Element="S" Port="out"/></Output>
      <NumberOfInputs>2</NumberOfInputs>
    </Graph>
    <Graph Name="G2_S" Type="DSP" Multiplier="0.5">
      <Element Type="IirDecimator" Name="1">
        <Properties CornerFrequency="20000" Factor="2" Order="2" Cascade="8" Type="Butterworth"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="Switch_S" Node="out"/></Inputs>
      <Output><Node Name="out" Element="1" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="out DC block_S" Type="DSP">
      <Element Type="FirstOrderIIR" Name="DC block">
        <Properties A="-0.9995" B="1.0|-1.0"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Element Type="Gain" Name="Gain">
        <Properties Gain="1.0" InputIndex="0"/>
        <Inputs><Input Port="in" Element="DC block" Output="out"/></Inputs>
      </Element>
      <Inputs><Input Graph="G2_S" Node="out"/></Inputs>
      <Output><Node Name="out" Element="Gain" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
    <Graph Name="WaveConvolver_S" Type="DSP">
      <Element Type="WaveConvolver" Name="WV">
        <Properties Location="Memory" ImpulseResponses="u87" MaxIRSize="8192" Gain="0.25" Scale="true"/>
        <Inputs><Input Port="in" Element="Graph" Output="0"/></Inputs>
      </Element>
      <Inputs><Input Graph="out DC block_S" Node="out"/></Inputs>
      <Output><Node Name="out" Element="WV" Index="0"/></Output>
      <NumberOfInputs>1</NumberOfInputs>
    </Graph>
  </Graphs>
  <Outputs>
    <Output Graph="WaveConvolver" Node="out"/>
    <Output Graph="WaveConvolver_S" Node="out"/>
  </Outputs>
  <Controls>
    <Control Name="Gain" DisplayName="Volume" Value="0.5">
      <UIProperties Image="fender-chicken.png" ControlType="CAnimKnob" X="281" Y="272" Width="66" Height="66"/>
      <Properties>
          <Property Name="Wiper" Graph="V2-out-Rg" Element="VC"/>
          <Property Name="Wiper" Graph="V2-out-Rg-lowCPU" Element="VC"/>
          <Property Name="Wiper" Graph="V2-out-Rg_S" Element="VC"/>
          <Property Name="Wiper" Graph="V2-out-Rg-lowCPU_S" Element="VC"/>
      </Properties>
    </Control>
    <Control Name="Feedback" DisplayName="Feedback" Value="1.0">
      <UIProperties Image="fender-chicken.png" ControlType="CAnimKnob" X="369" Y="272" Width="66" Height="66"/>
      <Properties>
          <Property Name="Gain" Graph="V2-out-Rg" Element="VC"/>
          <Property Name="Gain" Graph="V2-out-Rg-lowCPU" Element="GlobalFB"/>
          <Property Name="Gain" Graph="V2-out-Rg_S" Element="VC"/>
          <Property Name="Gain" Graph="V2-out-Rg-lowCPU_S" Element="GlobalFB"/>
      </Properties>
    </Control>
    <Control Name="Vol" DisplayName="Output" Value="0.5">
      <UIProperties Image="fender-chicken.png" ControlType="CAnimKnob" X="465" Y="272" Width="66" Height="66"/>
      <Properties>
          <Property Name="Gain" Graph="out DC block" Element="Gain"/>
          <Property Name="Gain" Graph="out DC block_S" Element="Gain"/>
      </Properties>
    </Control>
    <Control Name="Oversampling" DisplayName="Oversampling" Value="0.5">
      <UIProperties Image="HorizontalSwitch-3P.png" ControlType="CHorizontalSwitch" X="723" Y="274" Width="40" Height="20" NumberOfImages="3" HeightOfOneImage="20.0"/>
      <Properties>
          <Property Name="Factor" Graph="G1" Element="1"/>
          <Property Name="Factor" Graph="G2" Element="1"/>
          <Property Name="Factor" Graph="G1_S" Element="1"/>
          <Property Name="Factor" Graph="G2_S" Element="1"/>
      </Properties>
    </Control>
    <Control Name="Cabinet" DisplayName="Cabinet" Value="1">
      <UIProperties Image="VerticalSwitch.png" ControlType="CVerticalSwitch" X="721" Y="304" Width="20" Height="40"/>
      <Properties>
          <Property Name="Bypass" Graph="WaveConvolver"/>
          <Property Name="Bypass" Graph="WaveConvolver_S"/>
      </Properties>
    </Control>
    <Control Name="CPU" DisplayName="CPU" Value="0.0">
      <UIProperties Image="VerticalSwitch.png" ControlType="CVerticalSwitch" X="671" Y="304" Width="20" Height="40"/>
      <Properties>
          <Property Name="Position" Graph="Switch" Element="S"/>
          <Property Name="Off" Graph="V2-out-Rg-lowCPU"/>
          <Property Name="Off" Graph="V2-out-Rg"/>
          <Property Name="Position" Graph="Switch_S" Element="S"/>
          <Property Name="Off" Graph="V2-out-Rg-lowCPU_S"/>
          <Property Name="Off" Graph="V2-out-Rg_S"/>
      </Properties>
    </Control>
    <Control Name="Input" DisplayName="Input" Value="0.5">
      <UIProperties Image="fender-chicken.png" ControlType="CAnimKnob" X="185" Y="272" Width="66" Height="66"/>
      <Properties>
          <Property Name="Gain" Graph="G1" Element="InputGain"/>
          <Property Name="Gain" Graph="G1_S" Element="InputGain"/>
      </Properties>
    </Control>
    <Control Name="Stereo" DisplayName="Stereo" Value="0.0">
      <UIProperties Image="VerticalSwitch.png" ControlType="CVerticalSwitch" X="778" Y="304" Width="20" Height="40"/>
      <Properties>
          <Property Name="Bypass" Graph="G1_S"/>
          <Property Name="Bypass" Graph="V1_S"/>
          <Property Name="Bypass" Graph="V2-out-Rg-lowCPU_S"/>
          <Property Name="Bypass" Graph="V2-out-Rg_S"/>
          <Property Name="Bypass" Graph="G2_S"/>
          <Property Name="Bypass" Graph="out DC block_S"/>
          <Property Name="Bypass_1" Graph="WaveConvolver_S"/>
      </Properties>
    </Control>
  </Controls>
</System>
)TORVANE";

} // namespace torvane
