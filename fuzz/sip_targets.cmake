# The targets of the SIP stack's messages and of session descriptions.
add_library(fuzz_sip STATIC support/sip_message.cpp support/sip_checks.cpp)
target_link_libraries(fuzz_sip PUBLIC fuzz_support hark_cpsip)
add_library(fuzz_sdp STATIC support/sip_sdp.cpp)
target_link_libraries(fuzz_sdp PUBLIC fuzz_support hark_cpsdp)

hark_fuzz(sipdatagram USES fuzz_sip fuzz_sdp SOURCES support/sip_roundtrip.cpp)
hark_fuzz(sipheader USES fuzz_sip)
hark_fuzz(sipuri USES hark_cpsip)
hark_fuzz(msgaccess USES fuzz_sip SOURCES support/sip_model.cpp)
hark_fuzz(sdpparse USES fuzz_sdp)
hark_fuzz(sdpencode USES fuzz_sdp)
hark_fuzz(sdpnegotiate USES fuzz_sdp)
hark_fuzz(sdppayload USES fuzz_sdp)
