hark_test(sipmsg_test SOURCES sipmsg_test.cpp USES hark_sipua hark_cpsip hark_base)
